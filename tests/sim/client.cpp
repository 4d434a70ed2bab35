#include "tests/sim/client.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace client {

namespace {

bytes request(size_t size, size_t id_offset, uint8_t code, uint32_t id, const bytes& mac)
{
    bytes record(size, 0xee);
    record[0] = code;
    for (size_t byte = 0; byte < 4; byte++)
        record[id_offset + byte] = static_cast<uint8_t>(id >> (8 * byte));
    std::ranges::copy(mac, record.begin() + static_cast<std::ptrdiff_t>(id_offset) + 4);
    return record;
}

} // namespace

bytes cf_request(uint8_t code, uint32_t id, const bytes& mac)
{
    return request(2056, 8, code, id, mac);
}

bytes app_request(uint8_t code, uint32_t id, const bytes& mac)
{
    return request(136, 8, code, id, mac);
}

bytes user_profile_request(uint8_t code, uint32_t id, const bytes& mac)
{
    return request(16, 4, code, id, mac);
}

int dial(const std::string& path)
{
    sockaddr_un address = {.sun_family = AF_UNIX};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0)
        return fd;
    const int cause = errno;
    close(fd);
    errno = cause;
    return -1;
}

bytes exchange(const std::string& path, const bytes& request, size_t limit, int milliseconds)
{
    const int fd = dial(path);
    if (fd < 0)
        return {};
    const timeval patience = {.tv_sec = milliseconds / 1000, .tv_usec = milliseconds % 1000 * 1000};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    bytes reply(send(fd, request.data(), request.size(), MSG_NOSIGNAL) < 0 ? 0 : limit);
    size_t received = 0;
    while (received < reply.size()) {
        ssize_t size = recv(fd, reply.data() + received, reply.size() - received, 0);
        if (size <= 0)
            break;
        received += static_cast<size_t>(size);
    }
    close(fd);
    reply.resize(received);
    return reply;
}

} // namespace client
