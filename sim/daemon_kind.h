#pragma once

#include "sim/record.h"
#include "sim/service.h"

#include <memory>
#include <span>
#include <string>
#include <sys/socket.h>

namespace sim {

struct byte_range {
    size_t offset;
    size_t size;
};

// A row of the table of daemons: everything the framework has to know of one.
struct daemon_kind {
    const char* name;
    const char* path;
    int type = SOCK_STREAM; // of its socket
    size_t code_width = 4;  // of the code that a request begins with
    size_t request_size;
    size_t reply_size;
    byte_range result; // the number in a reply that tells how it went
    uint32_t more = 0; // the result of a list entry that others follow
    // What clients may read of any reply, beside its result and its code's fields.
    std::span<const byte_range> named = {};
    int (*listen)(const daemon_kind& kind);
    std::unique_ptr<service> (*make_service)();
    const char* pid_file = nullptr; // where clients look for the process that a hang-up signal reaches
};

std::span<const daemon_kind> daemon_kinds();

// Fails for a name that no daemon has.
const daemon_kind& daemon_named(const std::string& name);

} // namespace sim
