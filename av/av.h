#pragma once

#include "kqutm/engines.h"

#include "common/engine.h"

namespace engines {

inline constexpr engine av = {
    .address = local_address(UTM_AV_SOCKET),
    .type = SOCK_STREAM,
    .receive_limit = 10,
    .no_signal = true,
};

} // namespace engines

// Connects and sends the request, as every operation starts. Negative: failed.
unique_fd request_from_av(const utm_av_message& request);
