#pragma once

#include "sim/daemon_kind.h"
#include "sim/fault.h"
#include "sim/trace.h"

#include <functional>
#include <vector>

namespace sim {

// What one daemon starts with. Null state: what a service holds when it is new.
struct daemon_setup {
    json state;
    std::vector<fault> faults;
};

// Is the daemon, until it is killed. Calls ready once its sockets are there.
[[noreturn]] void run_daemon(const daemon_kind& kind, const daemon_setup& setup, const trace_file& trace,
                             const std::function<void()>& ready);

} // namespace sim
