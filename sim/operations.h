#pragma once

#include "operations/daemons.h"
#include "operations/decode.h"
#include "operations/text.h"

namespace sim {

// The daemons, their codes and records, which the simulator shares with the tools.
using namespace operations;
using operations::number_at; // beside that for JSON

} // namespace sim
