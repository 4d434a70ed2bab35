// The program at a terminal.

#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

// A session of its own on a fresh terminal.
class terminal {
public:
    explicit terminal(const std::vector<const char*>& command)
    {
        process_ = forkpty(&fd_, nullptr, nullptr, nullptr);
        if (process_ != 0)
            return;
        std::vector<const char*> arguments = command;
        arguments.push_back(nullptr);
        execvp(arguments[0], const_cast<char**>(arguments.data()));
        _exit(127);
    }
    terminal(const terminal&) = delete;
    terminal& operator=(const terminal&) = delete;
    ~terminal() { close(fd_); }

    void type(const std::string& text) const
    {
        EXPECT_EQ(write(fd_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    // Waits until the text comes after what was waited for before, for a minute at most.
    bool shows(const std::string& text)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        size_t place = 0;
        while ((place = screen_.find(text, seen_)) == std::string::npos) {
            if (std::chrono::steady_clock::now() > end || !read_more())
                return false;
        }
        seen_ = place + text.size();
        return true;
    }

    // Of the shell: 128 and the signal's number for a process that was killed.
    int status()
    {
        while (read_more()) {
        }
        int status = -1;
        EXPECT_EQ(waitpid(process_, &status, 0), process_);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    const std::string& screen() const { return screen_; }

private:
    bool read_more()
    {
        char piece[4096];
        pollfd readable = {.fd = fd_, .events = POLLIN};
        if (poll(&readable, 1, 60'000) != 1)
            return false;
        ssize_t size = read(fd_, piece, sizeof piece);
        if (size <= 0)
            return false;
        screen_.append(piece, static_cast<size_t>(size));
        return true;
    }

    int fd_ = -1;
    pid_t process_;
    std::string screen_;
    size_t seen_ = 0;
};

// Each test interrupts a cat that reads the terminal: by what it has shown, nothing catches the signal any more.
constexpr char interrupt[] = "\x03";

TEST(at_a_terminal, the_command_gets_the_interrupt)
{
    terminal run({KQUTM_GATEWAY, "run", "--", "cat", "/etc/passwd", "-"});
    ASSERT_TRUE(run.shows("root:")) << run.screen();
    run.type(interrupt);
    EXPECT_EQ(run.status(), 128 + SIGINT);
}

TEST(at_a_terminal, the_command_decides_what_an_interrupt_does)
{
    terminal run({KQUTM_GATEWAY, "run", "--", "bash", "-c",
                  "trap 'utm-gateway state user_profile; exit 7' INT; cat /etc/passwd -"});
    ASSERT_TRUE(run.shows("root:")) << run.screen();
    run.type(interrupt);
    EXPECT_TRUE(run.shows("\"profiles\": []")) << run.screen();
    EXPECT_EQ(run.status(), 7);
}

// The prompt shows where the user is; an interrupt ends what the shell runs, not the shell.
void use_shell(const char* path)
{
    const std::string variable = std::string("SHELL=") + path;
    terminal shell({"env", variable.c_str(), KQUTM_GATEWAY, "shell", "--fault", "cf:1:refuse=5"});
    ASSERT_TRUE(shell.shows("(gateway) ")) << shell.screen();
    shell.type("utm-gateway fault cf\n");
    EXPECT_TRUE(shell.shows("1:refuse=5\r\n")) << shell.screen();
    shell.type("cat /etc/passwd -\n");
    EXPECT_TRUE(shell.shows("root:")) << shell.screen();
    shell.type(interrupt);
    ASSERT_TRUE(shell.shows("^C") && shell.shows("(gateway) ")) << shell.screen();
    shell.type("echo still $((6 * 7))\n");
    EXPECT_TRUE(shell.shows("still 42")) << shell.screen();
    shell.type("exit 9\n");
    EXPECT_EQ(shell.status(), 9) << shell.screen();
    EXPECT_EQ(shell.screen().find("process group"), std::string::npos) << shell.screen();
}

TEST(at_a_terminal, bash_works)
{
    use_shell("/bin/bash");
}

TEST(at_a_terminal, sh_works)
{
    use_shell("/bin/sh");
}

TEST(at_a_terminal, the_foreground_goes_back_to_the_caller)
{
    terminal caller({"sh", "-c", "SHELL=/bin/sh " KQUTM_GATEWAY " shell; read line && echo \"got $line\""});
    ASSERT_TRUE(caller.shows("(gateway) ")) << caller.screen();
    caller.type("exit\n");
    caller.type("words\n");
    EXPECT_TRUE(caller.shows("got words")) << caller.screen();
    EXPECT_EQ(caller.status(), 0);
}

} // namespace
