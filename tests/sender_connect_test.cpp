#include "kqutm/daemon.h"

#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/sender.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <optional>
#include <sys/un.h>
#include <unistd.h>

namespace {

using calls = std::vector<std::string>;

std::string repeated(const std::string& text, int times)
{
    std::string all;
    while (times-- > 0)
        all += text;
    return all;
}

TEST(sender_connect, without_a_daemon_tries_22_times_on_one_socket)
{
    wrap::plan plan;
    plan.answer("usleep", wrap::every, 0);
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_CF), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(plan.count("socket"), 1);
    EXPECT_EQ(plan.calls("connect"), calls(22, "connect(/dev/utm_cf_config_socket, 29)"));
    EXPECT_EQ(plan.calls("usleep"), calls(21, "usleep(100000)"));
    EXPECT_EQ(appcf_log(), repeated(sender_line("connect fail: No such file or directory"), 22));
}

TEST(sender_connect, daemon_that_appears_meanwhile_is_told)
{
    std::optional<sim::scripted_daemon> daemon;
    wrap::plan plan;
    plan.answer("usleep", wrap::every, 0);
    plan.before("usleep", 21, [&] { daemon.emplace(user_profile_path, answer(0)); });
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_USER_PROFILE), 0);
    EXPECT_EQ(plan.count("connect"), 22);
    EXPECT_EQ(appcf_log(), repeated(sender_line("connect fail: No such file or directory"), 21));
    EXPECT_EQ(daemon->requests(), records{bytes_of(event, 16)});
}

TEST(sender_connect, socket_that_nobody_listens_on_refuses)
{
    int bound = socket(AF_UNIX, SOCK_STREAM, 0);
    const sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = "/dev/utm_app_config_socket"};
    ASSERT_EQ(bind(bound, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    wrap::plan plan;
    plan.answer("usleep", wrap::every, 0);
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_APP), -1);
    EXPECT_EQ(errno, ECONNREFUSED);
    EXPECT_EQ(appcf_log(), repeated(sender_line("connect fail: Connection refused"), 22));
    close(bound);
}

TEST(sender_connect, unknown_target_is_a_daemon_that_is_not_there)
{
    for (int target : {-1, 3, 1000}) {
        wrap::plan plan;
        plan.answer("usleep", wrap::every, 0);
        EXPECT_EQ(send_utm_config_event(event, target), -1);
        EXPECT_EQ(errno, ECONNREFUSED);
        EXPECT_EQ(plan.calls("connect"), calls(22, "connect(/, 5)"));
        EXPECT_EQ(plan.count("write"), 22) << "the log's alone";
    }
    EXPECT_EQ(appcf_log(), repeated(sender_line("connect fail: Connection refused"), 66));
}

TEST(sender_connect, unknown_target_reaches_nobody_on_the_name_that_an_empty_path_would_be)
{
    sockaddr_un abstract = {.sun_family = AF_UNIX, .sun_path = {}};
    const socklen_t length = sizeof abstract.sun_family + 2;
    int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&abstract), length), 0);
    ASSERT_EQ(listen(listener, 1), 0);
    wrap::plan plan;
    plan.answer("usleep", wrap::every, 0);
    EXPECT_EQ(send_utm_config_event(event, 3), -1);
    EXPECT_EQ(errno, ECONNREFUSED);
    close(listener);
}

TEST(sender_connect, socket_that_cannot_be_created)
{
    wrap::plan plan;
    plan.fail("socket", 1, EMFILE);
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_CF), -1);
    EXPECT_EQ(errno, EMFILE);
    EXPECT_EQ(appcf_log(), sender_line("create socket fail: Too many open files"));
    EXPECT_EQ(plan.count("connect"), 0);
}

} // namespace
