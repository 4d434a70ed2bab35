#pragma once

#include "kqutm/daemon.h"

#include <cstdint>

namespace sim {

// Why a config daemon refuses. The values are the simulator's own invention; 2 stands for a list entry.
enum config_status : uint8_t {
    done = UTM_RESPONSE_OK,
    profile_exists = 101,
    profile_unknown = 102,
    device_exists = 103,
    device_unknown = 104,
    code_unknown = 105,
    number_refused = 106,
    policy_exists = 107,
    policy_unknown = 108,
    text_exists = 109,
    text_unknown = 110,
    file_inaccessible = 111,
    file_unreadable = 112
};

} // namespace sim
