#include "kqutm/daemon.h"

#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/descriptors.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/reader.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

using calls = std::vector<std::string>;
using namespace std::chrono_literals;

constexpr int cf = UTM_CONFIG_TARGET_CF;
constexpr int app = UTM_CONFIG_TARGET_APP;
constexpr int user_profile = UTM_CONFIG_TARGET_USER_PROFILE;

TEST(reader, returns_the_last_record_whole)
{
    sim::scripted_daemon daemon(user_profile_path, answer({reply(0)}));
    utm_event_response* response = ask(9, user_profile);
    ASSERT_NE(response, nullptr);
    EXPECT_EQ(bytes_of(response, sizeof *response), reply(0));
    EXPECT_EQ(daemon.requests(), records{(sim::bytes{9, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0})});
    EXPECT_FALSE(exists("/tmp/utm_log"));
    free(response);
}

TEST(reader, exchange_is_one_call_of_each_kind)
{
    sim::scripted_daemon daemon(cf_path, answer({reply(0)}));
    wrap::plan plan;
    utm_event_response* response = ask(1, cf);
    ASSERT_NE(response, nullptr);
    EXPECT_EQ(plan.calls("socket"), calls{"socket(1, " + std::to_string(SOCK_STREAM | SOCK_CLOEXEC) + ", 0)"});
    EXPECT_EQ(plan.calls("connect"), calls{"connect(/dev/utm_cf_config_socket, 29)"});
    EXPECT_EQ(plan.calls("write"), calls{"write(2056)"});
    EXPECT_EQ(plan.calls("malloc"), calls{"malloc(832)"});
    EXPECT_EQ(plan.calls("select"), calls{"select(2, 0)"});
    EXPECT_EQ(plan.calls("read"), calls{"read(832)"});
    free(response);
}

TEST(reader, only_the_first_record_has_a_time_limit)
{
    const sim::script slow = {sim::receive(), sim::send(reply(2)), sim::pause(300ms), sim::send(reply(0))};
    sim::scripted_daemon daemon(cf_path, slow);
    wrap::plan plan;
    utm_event_response* response = ask(1, cf);
    EXPECT_NE(response, nullptr);
    EXPECT_EQ(plan.count("select"), 1);
    EXPECT_EQ(plan.count("read"), 2);
    free(response);
}

TEST(reader, each_record_replaces_the_one_before)
{
    sim::bytes first(reply_size, 1);
    first[0] = 2;
    sim::scripted_daemon daemon(cf_path, answer({first, reply(0)}));
    utm_event_response* response = ask(1, cf);
    ASSERT_NE(response, nullptr);
    EXPECT_EQ(bytes_of(response, sizeof *response), reply(0));
    free(response);
}

TEST(reader, records_with_status_2_are_skipped_where_there_is_no_list)
{
    struct {
        int target;
        const char* path;
    } const without_list[] = {{cf, cf_path}, {user_profile, user_profile_path}};
    for (const auto& [target, path] : without_list) {
        sim::scripted_daemon daemon(path, answer({reply(2), reply(2), reply(2), reply(0)}));
        wrap::plan plan;
        utm_event_response* response = ask(24, target);
        ASSERT_NE(response, nullptr);
        EXPECT_EQ(bytes_of(response, sizeof *response), reply(0));
        EXPECT_EQ(plan.count("malloc"), 1);
        free(response);
    }
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(reader, codes_of_lists_mean_nothing_to_other_daemons)
{
    sim::scripted_daemon content_filter(cf_path, answer({reply(2), reply(0)}));
    sim::scripted_daemon profiles(user_profile_path, answer({reply(2), reply(0)}));
    for (int code : {31, 36, 37, 47}) {
        utm_event_response* response = ask(code, cf);
        ASSERT_NE(response, nullptr);
        EXPECT_EQ(bytes_of(response, sizeof *response), reply(0));
        free(response);
    }
    utm_event_response* response = ask(25, user_profile);
    ASSERT_NE(response, nullptr);
    EXPECT_EQ(bytes_of(response, sizeof *response), reply(0));
    free(response);
}

TEST(reader, daemon_status_has_no_list_and_fails_on_an_entry)
{
    sim::scripted_daemon daemon(app_path, answer({reply(2), reply(0)}));
    EXPECT_EQ(ask(47, app), nullptr);
    EXPECT_EQ(errno, EPROTO);
    EXPECT_EQ(appcf_log(), reader_line(" app is NULL"));
}

TEST(reader, daemon_status_arrives_with_every_slot_as_sent)
{
    sim::scripted_daemon daemon(app_path, answer({reply(0)}));
    utm_event_response* response = ask(47, app);
    ASSERT_NE(response, nullptr);
    EXPECT_EQ(bytes_of(response, sizeof *response), reply(0));
    free(response);
}

TEST(reader, every_status_but_0_and_2_is_a_refusal)
{
    std::string log;
    for (int status : {1, 3, 128, 255}) {
        sim::scripted_daemon daemon(cf_path, answer({reply(2), reply(static_cast<uint8_t>(status))}));
        EXPECT_EQ(ask(1, cf), nullptr);
        EXPECT_EQ(errno, EREMOTEIO);
        log += reader_line("error code = " + std::to_string(status));
    }
    EXPECT_EQ(appcf_log(), log);
}

TEST(reader, without_a_daemon_tries_once)
{
    wrap::plan plan;
    EXPECT_EQ(ask(1, cf), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(plan.calls("connect"), calls{"connect(/dev/utm_cf_config_socket, 29)"});
    EXPECT_EQ(plan.count("usleep"), 0);
    EXPECT_EQ(appcf_log(), reader_line("connect fail: No such file or directory"));
}

TEST(reader, unknown_target_is_a_daemon_that_is_not_there)
{
    EXPECT_EQ(ask(1, 3), nullptr);
    EXPECT_EQ(errno, ECONNREFUSED);
    EXPECT_EQ(ask(1, -1), nullptr);
    EXPECT_EQ(appcf_log(),
              reader_line("connect fail: Connection refused") + reader_line("connect fail: Connection refused"));
}

TEST(reader, socket_that_cannot_be_created)
{
    wrap::plan plan;
    plan.fail("socket", 1, ENFILE);
    EXPECT_EQ(ask(1, cf), nullptr);
    EXPECT_EQ(errno, ENFILE);
    EXPECT_EQ(appcf_log(), reader_line("create socket fail: Too many open files in system"));
}

TEST(reader, failed_write)
{
    sim::scripted_daemon daemon(cf_path, answer({reply(0)}));
    wrap::plan plan;
    plan.fail("write", 1, EIO);
    EXPECT_EQ(ask(1, cf), nullptr);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(appcf_log(), reader_line("write data fail: Input/output error"));
    EXPECT_EQ(plan.count("malloc"), 0);
}

TEST(reader, short_write_is_not_continued)
{
    sim::scripted_daemon daemon(app_path, answer({reply(0)}));
    wrap::plan plan;
    plan.answer("write", 1, 100);
    EXPECT_EQ(ask(1, app), nullptr);
    EXPECT_EQ(errno, EPROTO);
    EXPECT_EQ(appcf_log(), reader_line("write data fail: Protocol error"));
}

TEST(reader, response_that_cannot_be_allocated)
{
    sim::scripted_daemon daemon(cf_path, answer({reply(0)}));
    wrap::plan plan;
    plan.fail("malloc", 1, ENOMEM);
    EXPECT_EQ(ask(1, cf), nullptr);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(appcf_log(), reader_line("response malloc fail"));
    EXPECT_EQ(plan.count("select"), 0);
}

// Deliberate: from here on a failure abandons the response, and the list collected so far, as they stand.
TEST(reader, failed_exchange_abandons_response_and_list)
{
    sim::scripted_daemon daemon(app_path, answer({reply(2), reply(2), reply(5)}));
    wrap::plan plan;
    EXPECT_EQ(ask(36, app), nullptr);
    EXPECT_EQ(plan.calls("malloc"), (calls{"malloc(832)", "malloc(24)", "malloc(24)", "malloc(24)"}));
    EXPECT_EQ(plan.count("free"), 0);
}

TEST(reader, failed_select)
{
    sim::scripted_daemon daemon(cf_path, answer({reply(0)}));
    wrap::plan plan;
    plan.fail("select", 1, EINTR);
    EXPECT_EQ(ask(1, cf), nullptr);
    EXPECT_EQ(errno, EINTR);
    EXPECT_EQ(appcf_log(), reader_line("select() error, error: Interrupted system call"));
    EXPECT_EQ(plan.count("read"), 0);
}

TEST(reader, no_answer_in_time)
{
    sim::scripted_daemon daemon(cf_path, sim::script{sim::receive(), sim::await_close()});
    wrap::plan plan;
    plan.answer("select", 1, 0);
    EXPECT_EQ(ask(1, cf), nullptr);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_EQ(appcf_log(), reader_line("select() timeout"));
}

TEST(reader, failed_read)
{
    sim::scripted_daemon daemon(cf_path, answer({reply(0)}));
    wrap::plan plan;
    plan.fail("read", 1, EIO);
    EXPECT_EQ(ask(1, cf), nullptr);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(appcf_log(), reader_line("read response fail"));
}

TEST(reader, record_of_831_bytes_is_short)
{
    sim::scripted_daemon daemon(cf_path, answer({sim::bytes(831)}));
    EXPECT_EQ(ask(1, cf), nullptr);
    EXPECT_EQ(errno, EPROTO);
    EXPECT_EQ(appcf_log(), reader_line("read response fail"));
}

TEST(reader, stream_that_ends_without_a_last_record_fails)
{
    sim::scripted_daemon daemon(cf_path, answer({reply(2), reply(2)}));
    EXPECT_EQ(ask(1, cf), nullptr);
    EXPECT_EQ(errno, ENODATA);
    EXPECT_EQ(appcf_log(), reader_line("read response fail"));
}

TEST(reader, records_sent_as_one_piece_are_told_apart)
{
    sim::bytes both = reply(2);
    const sim::bytes last = reply(0);
    both.insert(both.end(), last.begin(), last.end());
    sim::scripted_daemon daemon(cf_path, answer({both}));
    utm_event_response* response = ask(1, cf);
    ASSERT_NE(response, nullptr);
    EXPECT_EQ(response->status, 0);
    free(response);
}

TEST(reader, daemon_that_resets_the_connection_fails_the_exchange)
{
    signal(SIGPIPE, SIG_DFL);
    sim::scripted_daemon daemon(cf_path, sim::script{sim::pause(200ms)});
    EXPECT_EQ(ask(1, cf), nullptr);
    EXPECT_EQ(errno, ECONNRESET);
    EXPECT_EQ(appcf_log(), reader_line("read response fail"));
}

TEST(reader, works_above_descriptor_1024)
{
    sim::scripted_daemon daemon(cf_path, answer({reply(0)}));
    occupied_descriptors occupied(1100);
    utm_event_response* response = ask(1, cf);
    EXPECT_NE(response, nullptr);
    free(response);
}

TEST(reader, null_event_is_refused_without_a_trace)
{
    wrap::plan plan;
    EXPECT_EQ(send_utm_event_and_get_response(nullptr, cf), nullptr);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(plan.calls(), calls{});
}

} // namespace
