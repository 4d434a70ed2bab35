#pragma once

#include "sim/process.h"

#include <functional>
#include <string>
#include <vector>

// A gateway's view of the machine, in mount, IPC, PID and network namespaces of its own: private /tmp, /dev and /run, a
// /proc whose net/ holds the content filter's kernel switches as plain files, the library at the key-file path, and
// addresses on lo. The machine itself is untouched.
namespace sim {

struct gateway_view {
    std::string library;                // the file that appears at the key-file path
    std::vector<std::string> addresses; // on lo besides its own, such as "192.168.1.1" or "fd00::1"
    std::vector<std::string> kept;      // folders that stay visible although they lie below /tmp, /dev or /run
};

// Runs body inside, in a process of its own, and returns its exit status as a shell would: 128 and the signal's number
// for a process that was killed. Everything that body leaves running ends with it. As an ordinary user it works through
// a user namespace, in which body is root.
int run_in_namespaces(const gateway_view& view, const std::function<int()>& body);

// Inside: makes the view as new, as a restart of the gateway would: /tmp and /run empty, no sockets in /dev, the kernel
// switches off, no System V object. Holds for the calling process and those it starts afterwards.
void restart_view();

} // namespace sim
