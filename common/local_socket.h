#pragma once

#include <cstddef>
#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>

// The address of a local socket: path cut to 107 characters, the rest of the record zero. Known addresses are made when
// the library is compiled.
constexpr sockaddr_un local_address(const char* path)
{
    sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
    for (size_t i = 0; i < sizeof address.sun_path - 1 && path[i] != '\0'; ++i)
        address.sun_path[i] = path[i];
    return address;
}

// One write; a peer that has closed gives EPIPE and never a SIGPIPE.
ssize_t write_without_sigpipe(int fd, const void* data, size_t size);

// One send with flags 0, as safe.
ssize_t send_without_sigpipe(int fd, const void* data, size_t size);

// Waits until fd can be read, up to the given seconds, with one select; any descriptor number will do.
// Returns as select does: above 0 ready, 0 timed out, -1 failed.
int wait_readable(int fd, int seconds);
