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

void put(bytes& record, size_t offset, const bytes& content)
{
    std::ranges::copy(content, record.begin() + static_cast<std::ptrdiff_t>(offset));
}

bytes config_request(size_t size, size_t body_offset, uint8_t code, const bytes& body)
{
    bytes record(size, 0xee);
    record[0] = code;
    put(record, body_offset, body);
    return record;
}

void limit_wait(int fd, int milliseconds)
{
    const timeval patience = {.tv_sec = milliseconds / 1000, .tv_usec = milliseconds % 1000 * 1000};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
}

} // namespace

bytes with_number(bytes record, size_t offset, uint32_t number, size_t width)
{
    for (size_t byte = 0; byte < width; byte++)
        record[offset + byte] = static_cast<uint8_t>(number >> (8 * byte));
    return record;
}

bytes with_text(bytes record, size_t offset, const std::string& text)
{
    put(record, offset, bytes(text.begin(), text.end()));
    if (offset + text.size() < record.size())
        record[offset + text.size()] = 0;
    return record;
}

bytes request(size_t size, uint32_t code)
{
    return with_number(bytes(size, 0xee), 0, code);
}

bytes cf_request(uint8_t code, uint32_t id, const bytes& mac)
{
    return cf_request(code, join({u32(id), mac}));
}

bytes app_request(uint8_t code, uint32_t id, const bytes& mac)
{
    return app_request(code, join({u32(id), mac}));
}

bytes user_profile_request(uint8_t code, uint32_t id, const bytes& mac)
{
    return config_request(16, 4, code, join({u32(id), mac}));
}

bytes cf_request(uint8_t code, const bytes& body)
{
    return config_request(2056, 8, code, body);
}

bytes app_request(uint8_t code, const bytes& body)
{
    return config_request(136, 8, code, body);
}

bytes u32(uint32_t number)
{
    return with_number(bytes(4), 0, number);
}

bytes text(const std::string& text)
{
    bytes characters(text.begin(), text.end());
    characters.push_back(0);
    return characters;
}

bytes join(std::initializer_list<bytes> parts)
{
    bytes whole;
    for (const bytes& part : parts)
        whole.insert(whole.end(), part.begin(), part.end());
    return whole;
}

bytes config_reply(uint8_t status, std::initializer_list<part> parts)
{
    bytes record(832);
    record[0] = status;
    for (const part& part : parts)
        put(record, part.offset, part.content);
    return record;
}

bool eventually(const std::function<bool()>& holds)
{
    constexpr int limit = 6000;
    for (int attempt = 0; attempt < limit && !holds(); attempt++)
        usleep(10'000);
    return holds();
}

int dial(const std::string& path, int type)
{
    sockaddr_un address = {.sun_family = AF_UNIX};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    int fd = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
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
    limit_wait(fd, milliseconds);
    bytes reply(send(fd, request.data(), request.size(), MSG_NOSIGNAL) < 0 ? 0 : limit);
    shutdown(fd, SHUT_WR);
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

std::vector<bytes> exchange_packets(const std::string& path, const bytes& request, size_t count, int milliseconds)
{
    const int fd = dial(path, SOCK_SEQPACKET);
    if (fd < 0)
        return {};
    limit_wait(fd, milliseconds);
    std::vector<bytes> packets;
    ssize_t size = send(fd, request.data(), request.size(), MSG_NOSIGNAL);
    shutdown(fd, SHUT_WR);
    while (size > 0 && packets.size() < count) {
        bytes packet(4096);
        size = recv(fd, packet.data(), packet.size(), 0);
        packet.resize(size < 0 ? 0 : static_cast<size_t>(size));
        if (size > 0)
            packets.push_back(packet);
    }
    close(fd);
    return packets;
}

} // namespace client
