#include "sim/process.h"

#include "sim/failure.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace sim {

namespace {

int exit_status(int wait_status)
{
    return WIFSIGNALED(wait_status) ? 128 + WTERMSIG(wait_status) : WEXITSTATUS(wait_status);
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

} // namespace sim
