#include "sim/namespaces.h"

#include "sim/failure.h"
#include "sim/process.h"
#include "sim/view.h"

#include <cstdlib>
#include <fstream>
#include <sched.h>
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
        return wait_for_process(start_process(command, exit));
    };
    // A user namespace asks for a process of one thread, which a fork gives.
    auto outside = [&] {
        enter_namespaces();
        return wait_for_process(start_process(first_process, _exit));
    };
    return wait_for_process(start_process(outside, _exit));
}

} // namespace sim
