#pragma once

#include "kqutm/engines.h"

#include "common/engine.h"

namespace engines {

inline constexpr engine ir = {
    .address = local_address(UTM_IR_SOCKET),
    .type = SOCK_SEQPACKET,
    .no_signal = true,
};

} // namespace engines

// A connection to the daemon. Closes it again, unless it has descriptor 0.
class ir_connection {
public:
    ir_connection();

    bool established() const { return fd_.get() >= 1; }

    // Each prints its own failure.
    bool send(const utm_ir_request& request) const;
    bool receive(utm_ir_reply& reply) const;
    bool receive(utm_ir_list_record& record) const;

private:
    unique_fd fd_;
};
