#include "kqutm/daemon.h"

#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/descriptors.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/sender.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/un.h>
#include <thread>

namespace {

using calls = std::vector<std::string>;
using namespace std::chrono_literals;

struct target {
    int number;
    const char* path;
    size_t event_size;
};
constexpr target targets[] = {{0, cf_path, 2056}, {1, app_path, 136}, {2, user_profile_path, 16}};

TEST(sender, each_target_gets_its_record_whole)
{
    for (const target& target : targets) {
        sim::scripted_daemon daemon(target.path, answer(0));
        EXPECT_EQ(send_utm_config_event(event, target.number), 0);
        EXPECT_EQ(daemon.requests(), records{bytes_of(event, target.event_size)});
    }
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

// Deliberate: the length covers the family, the path, its terminator and one byte more.
TEST(sender, exchange_is_one_call_of_each_kind)
{
    for (const target& target : targets) {
        sim::scripted_daemon daemon(target.path, answer(0));
        wrap::plan plan;
        ASSERT_EQ(send_utm_config_event(event, target.number), 0);
        const std::string path = target.path;
        const int type = SOCK_STREAM | SOCK_CLOEXEC;
        EXPECT_EQ(plan.calls("socket"), calls{"socket(1, " + std::to_string(type) + ", 0)"});
        EXPECT_EQ(plan.calls("connect"), calls{"connect(" + path + ", " + std::to_string(path.size() + 4) + ")"});
        EXPECT_EQ(plan.calls("write"), calls{"write(" + std::to_string(target.event_size) + ")"});
        EXPECT_EQ(plan.calls("select"), calls{"select(10, 0)"});
        EXPECT_EQ(plan.calls("read"), calls{"read(832)"});
        EXPECT_EQ(plan.count("malloc"), 0);
    }
}

TEST(sender, every_status_but_0_is_a_refusal)
{
    std::string log;
    for (int status : {1, 3, 127, 128, 255}) {
        sim::scripted_daemon daemon(cf_path, answer(static_cast<uint8_t>(status)));
        EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_CF), -1);
        EXPECT_EQ(errno, EREMOTEIO);
        log += sender_line("error code = " + std::to_string(status));
    }
    EXPECT_EQ(appcf_log(), log);
}

// Deliberate: UTM_RESPONSE_MORE is an error code here; the sender collects no list.
TEST(sender, status_2_is_a_refusal)
{
    sim::scripted_daemon daemon(app_path, answer({reply(2), reply(0)}));
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_APP), -1);
    EXPECT_EQ(errno, EREMOTEIO);
    EXPECT_EQ(appcf_log(), sender_line("error code = 2"));
}

TEST(sender, failed_write)
{
    sim::scripted_daemon daemon(cf_path, answer(0));
    wrap::plan plan;
    plan.fail("write", 1, ENOBUFS);
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_CF), -1);
    EXPECT_EQ(errno, ENOBUFS);
    EXPECT_EQ(appcf_log(), sender_line("write data fail: No buffer space available"));
    EXPECT_EQ(plan.count("select"), 0);
}

TEST(sender, short_write_is_not_continued)
{
    for (const long written : {0, 2055}) {
        sim::scripted_daemon daemon(cf_path, answer(0));
        unlink(UTM_APPCF_LOG);
        wrap::plan plan;
        plan.answer("write", 1, written);
        EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_CF), -1);
        EXPECT_EQ(errno, EPROTO);
        EXPECT_EQ(appcf_log(), sender_line("write data fail: Protocol error"));
        EXPECT_EQ(plan.count("select"), 0);
    }
}

TEST(sender, daemon_that_dies_before_the_write_raises_no_sigpipe)
{
    int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    const sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = "/dev/utm_cf_config_socket"};
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 3), 0);
    signal(SIGPIPE, SIG_DFL);
    wrap::plan plan;
    plan.before("write", 1, [&] { close(listener); });
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_CF), -1);
    EXPECT_EQ(errno, EPIPE);
    EXPECT_EQ(appcf_log(), sender_line("write data fail: Broken pipe"));
}

TEST(sender, failed_select)
{
    sim::scripted_daemon daemon(cf_path, answer(0));
    wrap::plan plan;
    plan.fail("select", 1, EINTR);
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_CF), -1);
    EXPECT_EQ(errno, EINTR);
    EXPECT_EQ(appcf_log(), sender_line("select() error, error: Interrupted system call"));
    EXPECT_EQ(plan.count("select"), 1);
    EXPECT_EQ(plan.count("read"), 0);
}

TEST(sender, no_answer_in_time)
{
    sim::scripted_daemon daemon(cf_path, sim::script{sim::receive(), sim::await_close()});
    wrap::plan plan;
    plan.answer("select", 1, 0);
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_CF), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_EQ(appcf_log(), sender_line("select() timeout"));
    EXPECT_EQ(plan.count("read"), 0);
}

TEST(sender, failed_read)
{
    sim::scripted_daemon daemon(cf_path, answer(0));
    wrap::plan plan;
    plan.fail("read", 1, EIO);
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_CF), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(appcf_log(), sender_line("read response fail"));
}

TEST(sender, answer_of_831_bytes_is_short)
{
    sim::scripted_daemon daemon(cf_path, answer({sim::bytes(831)}));
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_CF), -1);
    EXPECT_EQ(errno, EPROTO);
    EXPECT_EQ(appcf_log(), sender_line("read response fail"));
}

TEST(sender, answer_in_two_pieces_is_short)
{
    const sim::script in_pieces = {sim::receive(), sim::send(sim::bytes(400)), sim::await_close()};
    sim::scripted_daemon daemon(cf_path, in_pieces);
    wrap::plan plan;
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_CF), -1);
    EXPECT_EQ(errno, EPROTO);
    EXPECT_EQ(plan.count("read"), 1);
    EXPECT_EQ(appcf_log(), sender_line("read response fail"));
}

TEST(sender, daemon_that_closes_instead_of_answering)
{
    sim::scripted_daemon daemon(cf_path, sim::script{sim::receive()});
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_CF), -1);
    EXPECT_EQ(errno, ENODATA);
    EXPECT_EQ(appcf_log(), sender_line("read response fail"));
}

TEST(sender, bytes_beyond_the_answer_are_not_read)
{
    sim::bytes long_answer = reply(0);
    long_answer.resize(2000, 1);
    sim::scripted_daemon daemon(cf_path, answer({long_answer}));
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_CF), 0);
}

TEST(sender, late_answer_is_waited_for)
{
    sim::scripted_daemon daemon(cf_path, sim::script{sim::receive(), sim::pause(300ms), sim::send(reply(0))});
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_CF), 0);
}

TEST(sender, works_above_descriptor_1024)
{
    sim::scripted_daemon daemon(cf_path, answer(0));
    occupied_descriptors occupied(1100);
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_CF), 0);
}

TEST(sender, null_event_is_refused_without_a_trace)
{
    wrap::plan plan;
    EXPECT_EQ(send_utm_config_event(nullptr, UTM_CONFIG_TARGET_CF), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(plan.calls(), calls{});
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(sender, result_does_not_depend_on_the_log)
{
    sim::scripted_daemon daemon(cf_path, answer(7));
    wrap::plan plan;
    plan.fail("stat", wrap::every, EACCES);
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_CF), -1);
    EXPECT_EQ(errno, EREMOTEIO);
    EXPECT_EQ(appcf_log(), "");
}

TEST(sender, many_threads_at_once)
{
    sim::scripted_daemon daemon(app_path, answer(0));
    std::vector<int> results(16, -1);
    {
        std::vector<std::jthread> threads;
        for (int& result : results)
            threads.emplace_back([&result] { result = send_utm_config_event(event, UTM_CONFIG_TARGET_APP); });
    }
    EXPECT_EQ(results, std::vector<int>(16, 0));
    EXPECT_EQ(daemon.requests(), records(16, bytes_of(event, 136)));
}

} // namespace
