#include "sim/namespaces.h"

#include "sim/failure.h"
#include "sim/view.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace sim {

namespace {

void write_file(const char* path, const std::string& text)
{
    std::ofstream file(path);
    file << text << std::flush;
    if (!file)
        fail(path);
}

// Inside its own user namespace an ordinary user is root, and may make the other namespaces.
void become_root_of_user_namespace()
{
    const uid_t uid = geteuid();
    const gid_t gid = getegid();
    if (unshare(CLONE_NEWUSER) != 0)
        fail("this machine refuses private namespaces to an ordinary user; try as root");
    write_file("/proc/self/setgroups", "deny");
    write_file("/proc/self/uid_map", "0 " + std::to_string(uid) + " 1");
    write_file("/proc/self/gid_map", "0 " + std::to_string(gid) + " 1");
}

void enter_namespaces()
{
    if (geteuid() != 0)
        become_root_of_user_namespace();
    if (unshare(CLONE_NEWNS | CLONE_NEWIPC | CLONE_NEWPID | CLONE_NEWNET) != 0)
        fail("this machine refuses private namespaces");
}

int exit_status(int wait_status)
{
    return WIFSIGNALED(wait_status) ? 128 + WTERMSIG(wait_status) : WEXITSTATUS(wait_status);
}

// Waits for the child and collects every orphan that ends before it.
int wait_for(pid_t child)
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

// Runs body in a child that does not outlive this process. leave is exit or _exit.
template <class Body> pid_t start(Body body, void (*leave)(int))
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

// While it lives, the signals of the keyboard reach the command inside alone; the command's status then tells.
class ignored_keyboard {
public:
    ignored_keyboard() : interrupt_(signal(SIGINT, SIG_IGN)), quit_(signal(SIGQUIT, SIG_IGN)) {}
    ignored_keyboard(const ignored_keyboard&) = delete;
    ignored_keyboard& operator=(const ignored_keyboard&) = delete;
    ~ignored_keyboard() { restore(); }

    void restore() const
    {
        signal(SIGINT, interrupt_);
        signal(SIGQUIT, quit_);
    }

private:
    sighandler_t interrupt_;
    sighandler_t quit_;
};

} // namespace

int run_in_namespaces(const gateway_view& view, const std::function<int()>& body)
{
    ignored_keyboard keyboard;
    auto command = [&] {
        keyboard.restore();
        return body();
    };
    auto first_process = [&] {
        build_view(view);
        return wait_for(start(command, exit));
    };
    // A user namespace asks for a process of one thread, which a fork gives.
    auto outside = [&] {
        enter_namespaces();
        return wait_for(start(first_process, _exit));
    };
    return wait_for(start(outside, _exit));
}

} // namespace sim
