// Switching the kernel and commanding the daemon.

#include "kqutm/cf.h"

#include "tests/sandbox/descriptors.h"
#include "tests/sandbox/disks.h"
#include "tests/sandbox/filter.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace {

using calls = std::vector<std::string>;

TEST(command, on_writes_kernel_and_command_and_hangs_up)
{
    running_filter filter;
    EXPECT_EQ(__utm_cf_activate(1), 0);
    EXPECT_EQ(content_of(kernel_enable), "1\n");
    EXPECT_EQ(content_of(kernel_hdf_enable), "yes\n");
    EXPECT_EQ(content_of(command_file), "29\n");
    EXPECT_EQ(filter.calls("kill"), calls{"kill(4711, 1)"});
    EXPECT_EQ(filter.count("usleep"), 0);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(command, off_writes_kernel_and_command_and_hangs_up)
{
    running_filter filter;
    EXPECT_EQ(__utm_cf_activate(0), 0);
    EXPECT_EQ(content_of(kernel_enable), "0\n");
    EXPECT_EQ(content_of(kernel_hdf_enable), "no\n");
    EXPECT_EQ(content_of(command_file), "28\n");
    EXPECT_EQ(filter.calls("kill"), calls{"kill(4711, 1)"});
}

TEST(command, file_may_get_descriptor_0)
{
    running_filter filter;
    closed_stdin closed;
    EXPECT_EQ(__utm_cf_activate(1), 0);
    EXPECT_EQ(content_of(command_file), "29\n");
    EXPECT_EQ(fcntl(0, F_GETFD), -1);
}

// Deliberate: a mode other than 0 and 1 switches the kernel on and the daemon off.
TEST(command, mode_2_switches_the_kernel_on_and_the_daemon_off)
{
    running_filter filter;
    EXPECT_EQ(__utm_cf_activate(2), 0);
    EXPECT_EQ(content_of(kernel_enable), "2\n");
    EXPECT_EQ(content_of(kernel_hdf_enable), "yes\n");
    EXPECT_EQ(content_of(command_file), "28\n");
    EXPECT_EQ(filter.calls("kill"), calls{"kill(4711, 1)"});
}

TEST(command, mode_below_0_switches_the_kernel_on_and_the_daemon_off)
{
    running_filter filter;
    EXPECT_EQ(__utm_cf_activate(-1), 0);
    EXPECT_EQ(content_of(kernel_enable), "-1\n");
    EXPECT_EQ(content_of(kernel_hdf_enable), "yes\n");
    EXPECT_EQ(content_of(command_file), "28\n");
}

TEST(command, steps_are_in_order)
{
    running_filter filter;
    EXPECT_EQ(__utm_cf_activate(1), 0);
    EXPECT_EQ(filter.calls("system"),
              (calls{"system(echo 1 > /proc/net/cfilter_enable)", "system(echo yes > /proc/net/cfilter_hdf_enable)"}));
    calls others;
    for (const std::string& call : filter.calls()) {
        if (!call.starts_with("system("))
            others.push_back(call);
    }
    EXPECT_EQ(others,
              (calls{"access(/var/run/contfltd.cmd, 0)", "fopen(/var/run/contfltd.pid, re)", "fscanf(%ld)", "fclose()",
                     "open(/var/run/contfltd.cmd, " + std::to_string(O_WRONLY | O_CREAT | O_CLOEXEC) + ", 420)",
                     "flock(2)", "fdopen(w)", "fprintf(%d\n)", "fclose()", "kill(4711, 1)"}));
}

TEST(command, signal_reaches_the_daemon_after_the_command_is_written)
{
    static volatile sig_atomic_t found;
    found = 0;
    struct sigaction before;
    const auto read_command = [](int) {
        char text[4] = {};
        const int file = open(command_file, O_RDONLY | O_CLOEXEC);
        found = read(file, text, sizeof text) == 3 && text[0] == '2' && text[1] == '9' && text[2] == '\n' ? 1 : 2;
        close(file);
    };
    struct sigaction action = {};
    action.sa_handler = read_command;
    ASSERT_EQ(sigaction(SIGHUP, &action, &before), 0);
    write_file(pid_file, std::to_string(getpid()));
    EXPECT_EQ(__utm_cf_activate(1), 0);
    sigaction(SIGHUP, &before, nullptr);
    EXPECT_EQ(found, 1);
}

TEST(command, daemon_can_read_and_remove_it)
{
    running_filter filter;
    EXPECT_EQ(__utm_cf_activate(1), 0);
    EXPECT_EQ(std::filesystem::status(command_file).permissions() & std::filesystem::perms::owner_read,
              std::filesystem::perms::owner_read);
    EXPECT_TRUE(std::filesystem::remove(command_file));
}

TEST(command, earlier_one_is_waited_for)
{
    running_filter filter;
    write_file(command_file, "28\n");
    filter.before("usleep", 3, [] { std::filesystem::remove(command_file); });
    EXPECT_EQ(__utm_cf_activate(1), 0);
    EXPECT_EQ(filter.calls("usleep"), calls(3, "usleep(100000)"));
    EXPECT_EQ(filter.count("unlink"), 0);
    EXPECT_EQ(content_of(command_file), "29\n");
    EXPECT_EQ(filter.count("kill"), 1);
}

TEST(command, earlier_one_that_is_never_taken_is_removed_after_100_pauses)
{
    running_filter filter;
    write_file(command_file, "a stale command\n");
    EXPECT_EQ(__utm_cf_activate(1), 0);
    EXPECT_EQ(filter.calls("usleep"), calls(100, "usleep(100000)"));
    EXPECT_EQ(filter.calls("unlink"), calls{"unlink(/var/run/contfltd.cmd)"});
    EXPECT_EQ(content_of(command_file), "29\n") << "written anew";
    EXPECT_EQ(filter.count("kill"), 1);
}

TEST(command, earlier_one_that_is_taken_in_the_last_pause_is_not_removed)
{
    running_filter filter;
    write_file(command_file, "28\n");
    filter.before("usleep", 100, [] { std::filesystem::remove(command_file); });
    EXPECT_EQ(__utm_cf_activate(1), 0);
    EXPECT_EQ(filter.count("usleep"), 100);
    EXPECT_EQ(filter.count("unlink"), 0);
    EXPECT_EQ(content_of(command_file), "29\n");
}

TEST(command, without_a_daemon_an_earlier_one_is_removed_all_the_same)
{
    impatient caller;
    write_file(command_file, "28\n");
    EXPECT_EQ(__utm_cf_activate(1), 0);
    EXPECT_EQ(caller.count("usleep"), 100);
    EXPECT_FALSE(exists(command_file));
}

void expect_kernel_switched_and_nobody_told(const wrap::plan& plan)
{
    EXPECT_EQ(__utm_cf_activate(1), 0);
    EXPECT_EQ(content_of(kernel_enable), "1\n");
    EXPECT_EQ(content_of(kernel_hdf_enable), "yes\n");
    EXPECT_EQ(plan.count("kill"), 0);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(command, without_a_pid_file_there_is_nobody_to_tell)
{
    wrap::plan plan;
    expect_kernel_switched_and_nobody_told(plan);
    EXPECT_FALSE(exists(command_file));
}

TEST(command, pid_file_that_cannot_be_opened_names_nobody)
{
    running_filter filter;
    filter.fail("fopen", 1, EACCES);
    expect_kernel_switched_and_nobody_told(filter);
    EXPECT_FALSE(exists(command_file));
}

class bad_pid : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(all, bad_pid,
                         testing::Values("", "\n", "contfltd\n", "0\n", "-1\n", "-4711\n", "2147483648\n",
                                         "4294967295\n", "99999999999999999999\n"));

TEST_P(bad_pid, names_nobody)
{
    running_filter filter;
    write_file(pid_file, GetParam());
    expect_kernel_switched_and_nobody_told(filter);
    EXPECT_FALSE(exists(command_file)) << "it is not even opened";
}

TEST(command, number_of_the_daemon_may_be_followed_by_anything)
{
    running_filter filter;
    write_file(pid_file, "  2147483647 contfltd\n");
    EXPECT_EQ(__utm_cf_activate(0), 0);
    EXPECT_EQ(filter.calls("kill"), calls{"kill(2147483647, 1)"});
}

TEST(command, stale_pid_file_is_no_failure)
{
    running_filter filter;
    filter.fail("kill", 1, ESRCH);
    EXPECT_EQ(__utm_cf_activate(1), 0);
    EXPECT_EQ(content_of(command_file), "29\n");
}

TEST(command, file_that_cannot_be_created)
{
    running_filter filter;
    filter.fail("open", 1, EROFS);
    expect_kernel_switched_and_nobody_told(filter);
    EXPECT_EQ(filter.count("flock"), 0);
    EXPECT_EQ(filter.count("unlink"), 0);
}

TEST(command, file_that_cannot_be_locked_is_removed)
{
    running_filter filter;
    filter.fail("flock", 1, ENOLCK);
    expect_kernel_switched_and_nobody_told(filter);
    EXPECT_EQ(filter.count("fdopen"), 0);
    EXPECT_EQ(filter.calls("unlink"), calls{"unlink(/var/run/contfltd.cmd)"});
    EXPECT_FALSE(exists(command_file));
}

TEST(command, file_that_cannot_become_a_stream_is_removed)
{
    running_filter filter;
    filter.fail("fdopen", 1, ENOMEM);
    expect_kernel_switched_and_nobody_told(filter);
    EXPECT_EQ(filter.calls("unlink"), calls{"unlink(/var/run/contfltd.cmd)"});
    EXPECT_FALSE(exists(command_file));
}

// Whether the command was written is not looked at: the daemon is told, and finds nothing.
TEST(command, full_disk_leaves_an_empty_file_and_the_daemon_is_told)
{
    full_disk disk("/run", "contfltd.pid", "4711\n");
    impatient caller;
    caller.answer("kill", wrap::every, 0);
    EXPECT_EQ(__utm_cf_activate(1), 0);
    EXPECT_EQ(content_of(kernel_enable), "1\n");
    EXPECT_TRUE(exists(command_file));
    EXPECT_EQ(content_of(command_file), "");
    EXPECT_EQ(caller.calls("kill"), calls{"kill(4711, 1)"});
}

// Deliberate: a command file that has come up since the wait is not truncated.
TEST(command, file_that_comes_up_after_the_wait_is_overwritten_without_truncation)
{
    running_filter filter;
    filter.before("open", 1, [] { write_file(command_file, "123456789\n"); });
    EXPECT_EQ(__utm_cf_activate(1), 0);
    EXPECT_EQ(content_of(command_file), "29\n456789\n");
    EXPECT_EQ(filter.count("kill"), 1);
}

TEST(command, lock_that_another_holds_is_waited_for)
{
    running_filter filter;
    int holder = -1;
    std::thread other;
    std::atomic<bool> released = false;
    filter.before("open", 1, [&] {
        holder = open(command_file, O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        ASSERT_EQ(flock(holder, LOCK_EX), 0);
    });
    filter.before("flock", 1, [&] {
        other = std::thread([&] {
            released = true;
            close(holder);
        });
    });
    filter.before("fdopen", 1, [&] { EXPECT_TRUE(released); });
    EXPECT_EQ(__utm_cf_activate(1), 0);
    other.join();
    EXPECT_EQ(content_of(command_file), "29\n");
}

TEST(command, kernel_without_the_filter_is_no_failure)
{
    running_filter filter;
    filter.fail("system", wrap::every, ENOMEM);
    EXPECT_EQ(__utm_cf_activate(1), 0);
    EXPECT_EQ(content_of(command_file), "29\n");
}

TEST(dump_activate, appends_heading_switches_and_an_empty_line)
{
    write_file("/tmp/dump", "before\n");
    write_file(kernel_enable, "1\n");
    write_file(kernel_hdf_enable, "yes\n");
    wrap::plan plan;
    dump_cf_activate("/tmp/dump");
    EXPECT_EQ(content_of("/tmp/dump"), "before\n====dump_cf_activate\n1\nyes\n\n");
    EXPECT_EQ(
        plan.calls(),
        (calls{"system(echo ====dump_cf_activate >> /tmp/dump)", "system(cat /proc/net/cfilter_enable >> /tmp/dump)",
               "system(cat /proc/net/cfilter_hdf_enable >> /tmp/dump)", "system(echo >> /tmp/dump)"}));
}

TEST(dump_activate, command_is_cut_at_2047_characters)
{
    wrap::plan plan;
    plan.answer("system", wrap::every, 0);
    dump_cf_activate(std::string(3000, 'p').c_str());
    const auto commands = plan.calls("system");
    ASSERT_EQ(commands.size(), 4U);
    EXPECT_EQ(commands[3], "system(echo >> " + std::string(2047 - 8, 'p') + ")");
}

TEST(dump_activate, null_path_does_nothing)
{
    wrap::plan plan;
    dump_cf_activate(nullptr);
    EXPECT_EQ(plan.calls(), calls{});
}

} // namespace
