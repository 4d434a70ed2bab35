#pragma once

#include "sim/table_service.h"
#include "sim/wire_text.h"

#include <cstdint>

namespace sim {

// Why an engine refuses. The values are the simulator's own invention.
enum engine_result : int32_t {
    accepted = 0,
    entry_exists = 101,
    entry_unknown = 102,
    value_refused = 103,
    list_full = 104,
    operation_unknown = 105
};

template <class Service, class Request, class State, class Reply, int32_t Reply::*result>
using engine_service = table_service<Service, Request, State, Reply, result, int32_t{operation_unknown}>;

// Takes 0 and 1 alone.
inline int32_t switch_to(bool& state, uint32_t value)
{
    if (value > 1)
        return value_refused;
    state = value == 1;
    return accepted;
}

} // namespace sim
