#pragma once

#include "sim/namespaces.h"

namespace sim {

// In fresh namespaces, as their first process: mounts the gateway's files and brings up lo.
void build_view(const gateway_view& view);

} // namespace sim
