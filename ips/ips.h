#pragma once

#include "kqutm/engines.h"

#include "common/engine.h"

namespace engines {

// Deliberate: device identification limits requests and replies to 3 s, IPS replies alone, to 10 s.
inline constexpr engine ips = {
    .address = local_address(UTM_IPS_SOCKET),
    .log = UTM_IPS_LOG,
    .type = SOCK_STREAM,
    .receive_limit = 10,
};

} // namespace engines

// Connects and sends the request, as every operation starts. Negative: logged under the name of the operation.
unique_fd request_from_ips(const utm_ips_message& request, const char* operation);
