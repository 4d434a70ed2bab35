#pragma once

#include "sim/scenario.h"

#include <functional>

namespace sim {

// Is the gateway's supervisor: starts the daemons, calls ready, restarts and stops daemons on request, and ends them
// all at SIGTERM. Returns its exit status.
int supervise(const scenario& scenario, const trace_file& trace, const std::function<void()>& ready);

} // namespace sim
