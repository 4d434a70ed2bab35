#pragma once

#include "sim/daemon_kind.h"
#include "sim/fault.h"
#include "sim/trace.h"

#include <mutex>

namespace sim {

// What the connections of one daemon share.
struct daemon_parts {
    const daemon_kind& kind;
    service& work;
    std::mutex& lock; // of work
    fault_list& faults;
    const trace_file& trace;
};

// Serves one connection until the client closes it or a fault ends it, and closes it.
void serve_connection(int connection, const daemon_parts& parts);

} // namespace sim
