// What the content-filter daemon does with files: command, pid, kernel switches and dump.

#include "sim/gateway.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/paths.h"
#include "tests/sim/client.h"

#include <cctype>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

using client::bytes;
using sim::json;

namespace fs = std::filesystem;

pid_t daemon_process()
{
    return std::stoi(content_of(pid_file));
}

bool command_is_taken()
{
    return client::eventually([] { return !fs::exists(command_file); });
}

void command(const std::string& text)
{
    write_file(command_file, text);
    kill(daemon_process(), SIGHUP);
    EXPECT_TRUE(command_is_taken());
}

json switched(const sim::gateway& gateway)
{
    const json state = gateway.state("cf");
    return {state.at("filtering"), state.at("commands")};
}

TEST(cf_process, is_named_by_its_pid_file)
{
    const sim::gateway gateway;
    EXPECT_EQ(content_of(pid_file), std::to_string(daemon_process()) + "\n");
    EXPECT_EQ(content_of("/proc/" + std::to_string(daemon_process()) + "/comm"), "utm-cf\n");
}

TEST(cf_process, takes_its_pid_file_along)
{
    {
        const sim::gateway gateway;
        gateway.stop("cf");
        EXPECT_FALSE(fs::exists(pid_file));
        gateway.restart("cf");
        EXPECT_EQ(kill(daemon_process(), 0), 0);
    }
    EXPECT_FALSE(fs::exists(pid_file));
}

TEST(cf_process, leaves_a_stale_pid_file_in_a_crash)
{
    const sim::gateway gateway;
    gateway.fault("cf", "any:crash");
    const pid_t process = daemon_process();
    EXPECT_EQ(client::exchange("/dev/utm_cf_config_socket", client::cf_request(1, 7)), bytes());
    EXPECT_TRUE(client::eventually([process] { return kill(process, 0) != 0; }));
    EXPECT_EQ(daemon_process(), process);
}

TEST(cf_command, switches_the_filter)
{
    const sim::gateway gateway;
    command("29\n");
    EXPECT_EQ(switched(gateway).dump(), "[true,[29]]");
    command("28\n");
    EXPECT_EQ(switched(gateway).dump(), "[false,[29,28]]");
}

TEST(cf_command, without_a_meaning_is_taken_and_changes_nothing)
{
    const sim::gateway gateway;
    command("29\n");
    command("7\n");
    EXPECT_EQ(switched(gateway).dump(), "[true,[29,7]]");
    command("on\n");
    command("");
    EXPECT_EQ(switched(gateway).dump(), "[true,[29,7]]");
}

TEST(cf_command, waits_for_the_hang_up)
{
    const sim::gateway gateway;
    write_file(command_file, "29\n");
    EXPECT_EQ(switched(gateway).dump(), "[false,[]]");
    EXPECT_TRUE(fs::exists(command_file));
}

TEST(cf_command, is_not_read_before_its_writer_has_unlocked_it)
{
    const sim::gateway gateway;
    const int writer = open(command_file, O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    flock(writer, LOCK_EX);
    kill(daemon_process(), SIGHUP);
    usleep(100'000);
    EXPECT_EQ(write(writer, "29\n", 3), 3);
    close(writer);
    EXPECT_TRUE(command_is_taken());
    EXPECT_EQ(switched(gateway).dump(), "[true,[29]]");
}

TEST(cf_command, a_hang_up_without_one_changes_nothing)
{
    const sim::gateway gateway;
    kill(daemon_process(), SIGHUP);
    command("28\n");
    EXPECT_EQ(switched(gateway).dump(), "[false,[28]]");
}

TEST(cf_command, other_daemons_outlive_a_hang_up)
{
    const sim::gateway gateway;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        if (isdigit(name[0]) != 0 && content_of(entry.path() / "comm") == "utm-app\n")
            kill(std::stoi(name), SIGHUP);
    }
    EXPECT_EQ(client::exchange("/dev/utm_app_config_socket", client::app_request(1, 7)), client::config_reply(0));
}

json kernel(const sim::gateway& gateway)
{
    return gateway.state("cf").at("kernel");
}

TEST(cf_kernel, is_shown_as_its_files_are)
{
    const sim::gateway gateway;
    write_file(kernel_enable, "1\n");
    write_file("/proc/net/cfilter_hdf_enable", "yes\n");
    write_file("/proc/net/cfilter_redirect_url", "http://192.168.1.1/blocked");
    EXPECT_EQ(kernel(gateway).dump(),
              R"({"enable":"1","hdf_enable":"yes","redirect_url":"http://192.168.1.1/blocked"})");
}

TEST(cf_kernel, has_no_redirect_page_after_a_zero_byte)
{
    const sim::gateway gateway;
    write_file("/proc/net/cfilter_redirect_url", std::string(1, '\0') + "ttp://192.168.1.1/");
    EXPECT_EQ(kernel(gateway).at("redirect_url"), "");
}

TEST(cf_kernel, may_be_missing)
{
    const sim::gateway gateway;
    fs::rename(kernel_enable, "/proc/net/away");
    EXPECT_EQ(kernel(gateway).at("enable"), nullptr);
    fs::rename("/proc/net/away", kernel_enable);
}

TEST(cf_kernel, starts_as_the_scenario_says)
{
    const json state = {{"kernel", {{"enable", "1"}, {"redirect_url", "http://192.168.1.1/"}}}};
    const sim::gateway gateway({.start = sim::scenario_from(json{{"cf", {{"state", state}}}}, "home")});
    EXPECT_EQ(content_of(kernel_enable), "1\n");
    EXPECT_EQ(content_of("/proc/net/cfilter_hdf_enable"), "no\n");
    EXPECT_EQ(content_of("/proc/net/cfilter_redirect_url"), "http://192.168.1.1/\n");
}

bytes dump_to(const std::string& path)
{
    return client::exchange("/dev/utm_cf_config_socket", client::cf_request(0, client::text(path)));
}

TEST(cf_dump, is_appended)
{
    const sim::gateway gateway;
    client::exchange("/dev/utm_cf_config_socket", client::cf_request(1, 7));
    write_file("/tmp/dump", "before\n");
    EXPECT_EQ(dump_to("/tmp/dump"), client::config_reply(0));
    EXPECT_EQ(content_of("/tmp/dump"), "before\n====Dump content filter daemon\n" + gateway.state("cf").dump(2) + "\n");
}

TEST(cf_dump, makes_a_file_but_no_folder)
{
    const sim::gateway gateway;
    EXPECT_EQ(dump_to("/tmp/" + std::string(122, 'x')), client::config_reply(0));
    EXPECT_TRUE(fs::exists("/tmp/" + std::string(122, 'x')));
    EXPECT_EQ(dump_to("/tmp/missing/dump"), client::config_reply(111));
}

} // namespace
