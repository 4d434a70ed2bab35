#pragma once

#include "tools/utmctl/rehearsal_note.h"

#include <cstddef>
#include <map>
#include <string>
#include <sys/types.h>
#include <utility>

namespace operations {
struct daemon_row;
}

// The daemons of a rehearsal: each request is taken down, and accepted at once.
class rehearsed_daemons {
public:
    explicit rehearsed_daemons(note add) : add_(std::move(add)) {}

    int connect(int fd, const std::string& path);
    ssize_t send(int fd, const void* data, size_t size, int flags);
    ssize_t write(int fd, const void* data, size_t size);
    void forget(int fd); // which is being closed

private:
    struct conversation {
        const operations::daemon_row* daemon;
        int peer;
    };

    bool take(int fd, const void* data, size_t size);

    note add_;
    std::map<int, conversation> open_; // by the client's descriptor
};
