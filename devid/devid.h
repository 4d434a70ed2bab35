#pragma once

#include "kqutm/engines.h"

#include "common/engine.h"

namespace engines {

// Deliberate: device identification limits requests and replies to 3 s, IPS replies alone, to 10 s.
inline constexpr engine devid = {
    .address = local_address(UTM_DEVID_SOCKET),
    .log = UTM_DEVID_LOG,
    .type = SOCK_STREAM,
    .receive_limit = 3,
    .send_limit = 3,
};

} // namespace engines

// Connects and sends the request, as every operation starts. Negative: logged under the name of the operation.
unique_fd request_from_devid(const utm_devid_message& request, const char* operation,
                             const char* not_sent = "send fail\n");
