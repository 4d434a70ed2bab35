#include "sim/process.h"

#include "sim/failure.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace sim {

namespace {

int exit_status(int wait_status)
{
    return WIFSIGNALED(wait_status) ? 128 + WTERMSIG(wait_status) : WEXITSTATUS(wait_status);
}

// Others of the caller, the end of a pipe for instance, would outlive their use.
void close_all_but(std::vector<int> needed)
{
    std::ranges::sort(needed);
    int first = STDERR_FILENO + 1;
    for (int fd : needed) {
        if (fd > first)
            close_range(static_cast<unsigned>(first), static_cast<unsigned>(fd - 1), 0);
        first = std::max(first, fd + 1);
    }
    close_range(static_cast<unsigned>(first), ~0U, 0);
}

} // namespace

pid_t start_process(const std::function<int()>& body, void (*leave)(int))
{
    fflush(nullptr);
    pid_t child = fork();
    if (child < 0)
        fail("fork");
    if (child > 0)
        return child;
    try {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        leave(body());
    } catch (const std::exception& error) {
        fprintf(stderr, "utm-gateway: %s\n", error.what());
        _exit(view_refused);
    }
    abort();
}

pid_t start_until_ready(const std::string& name, std::vector<int> needed,
                        const std::function<int(const std::function<void()>& ready)>& body)
{
    int ready[2];
    if (pipe2(ready, O_CLOEXEC) != 0)
        fail("pipe");
    needed.push_back(ready[1]);
    auto whole_body = [&] {
        close_all_but(needed);
        return body([&] {
            (void)!write(ready[1], "", 1);
            close(ready[1]);
        });
    };
    const pid_t child = start_process(whole_body, _exit);
    close(ready[1]);
    char byte = 0;
    const bool is_ready = read(ready[0], &byte, 1) == 1;
    close(ready[0]);
    if (is_ready)
        return child;
    waitpid(child, nullptr, 0);
    throw std::runtime_error(name + " did not start");
}

int wait_for_process(pid_t child)
{
    for (;;) {
        int status = 0;
        pid_t ended = wait(&status);
        if (ended == child)
            return exit_status(status);
        if (ended < 0 && errno != EINTR)
            fail("wait");
    }
}

ignored_keyboard::ignored_keyboard() : interrupt_(signal(SIGINT, SIG_IGN)), quit_(signal(SIGQUIT, SIG_IGN)) {}

void ignored_keyboard::restore() const
{
    signal(SIGINT, interrupt_);
    signal(SIGQUIT, quit_);
}

void give_terminal(pid_t group)
{
    const auto before = signal(SIGTTOU, SIG_IGN);
    tcsetpgrp(STDIN_FILENO, group);
    signal(SIGTTOU, before);
}

kept_terminal::kept_terminal() : is_ours_(tcgetpgrp(STDIN_FILENO) == getpgrp()) {}

kept_terminal::~kept_terminal()
{
    if (is_ours_)
        give_terminal(getpgrp());
}

} // namespace sim
