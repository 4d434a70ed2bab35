// The program where its surroundings are poor, hostile or gone.

#include "tests/sim/program.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

class surroundings : public program {};

// The daemons, the supervisor and the command alike have the environment that the program was started with.
std::ptrdiff_t processes_with(const std::string& variable)
{
    return std::ranges::count_if(fs::directory_iterator("/proc"), [&](const fs::directory_entry& process) {
        return text_of(process.path() / "environ").find(variable) != std::string::npos;
    });
}

bool soon(const std::function<bool()>& condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        usleep(10'000);
    }
    return true;
}

TEST_F(surroundings, ends_everything_inside_with_itself)
{
    const std::string mark = "SIM_PROGRAM_TEST=" + folder_.string();
    const std::string ready = file("ready");
    const pid_t process = fork();
    ASSERT_GE(process, 0);
    if (process == 0) {
        const std::string script = "sleep 60 & echo >ready; wait";
        fs::current_path(folder_);
        execl("/usr/bin/env", "env", mark.c_str(), KQUTM_GATEWAY, "run", "--", "sh", "-c", script.c_str(), nullptr);
        _exit(127);
    }
    ASSERT_TRUE(soon([&] { return fs::exists(ready); }));
    EXPECT_GE(processes_with(mark), 8);
    kill(process, SIGTERM);
    int status = 0;
    ASSERT_EQ(waitpid(process, &status, 0), process);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
    EXPECT_TRUE(soon([&] { return processes_with(mark) == 0; })) << processes_with(mark);
}

TEST_F(surroundings, tells_a_machine_that_refuses_namespaces)
{
    const outcome root = shell("unshare --user --map-root-user sh -c 'echo 0 >/proc/sys/user/max_mnt_namespaces; "
                               "exec " KQUTM_GATEWAY " run -- echo never'");
    EXPECT_EQ(root.status, 125);
    EXPECT_EQ(root.output, "utm-gateway: this machine refuses private namespaces: No space left on device\n");
    const outcome user = shell("unshare --user --keep-caps sh -c 'echo 0 >/proc/sys/user/max_user_namespaces; "
                               "exec " KQUTM_GATEWAY " run -- echo never'");
    EXPECT_EQ(user.status, 125);
    EXPECT_EQ(user.output, "utm-gateway: this machine refuses private namespaces to an ordinary user; try as root: "
                           "No space left on device\n");
}

TEST_F(surroundings, works_from_a_folder_in_tmp)
{
    fs::copy_file(KQUTM_GATEWAY, file("utm-gateway"));
    fs::copy_file(KQUTM_LIBRARY, file("libkqutm.so.1"));
    const std::string command = "LD_LIBRARY_PATH=" + folder_.string() + " " + file("utm-gateway") +
                                " run -- sh -c 'command -v utm-gateway; utm-gateway state user_profile'";
    const std::string expected = file("utm-gateway") + "\n{\n  \"profiles\": []\n}\n";
    EXPECT_EQ(shell("cd " + folder_.string() + "; " + command).output, expected);
    EXPECT_EQ(shell("cd /tmp; " + command).output, expected);
}

TEST_F(surroundings, works_without_home_and_terminal)
{
    EXPECT_EQ(shell("env -u HOME setsid --wait " KQUTM_GATEWAY " run -- sh -c 'cd && pwd' </dev/null").output,
              "/tmp\n");
    EXPECT_EQ(shell("HOME=/nowhere " KQUTM_GATEWAY " run -- sh -c 'cd && pwd'").output, "/tmp\n");
}

TEST_F(surroundings, leaves_closed_descriptors_closed)
{
    EXPECT_EQ(gateway("run -- sh -c 'test -e /proc/self/fd/0 || utm-gateway state user_profile' <&-").output,
              "{\n  \"profiles\": []\n}\n");
    EXPECT_EQ(gateway("run -- sh -c 'utm-gateway restart cf; exit 7' <&- >&- 2>&-").status, 7);
}

} // namespace
