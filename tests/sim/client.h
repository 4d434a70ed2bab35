#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <sys/socket.h>
#include <vector>

// A client without the library: records at literal offsets.
namespace client {

using bytes = std::vector<uint8_t>;

// Requests whose unnamed bytes hold rubbish, as the wire allows.
bytes cf_request(uint8_t code, uint32_t id, const bytes& mac = {});
bytes app_request(uint8_t code, uint32_t id, const bytes& mac = {});
bytes user_profile_request(uint8_t code, uint32_t id, const bytes& mac = {});

// A request to an engine, likewise; what it names is put there.
bytes request(size_t size, uint32_t code);
bytes with_number(bytes record, size_t offset, uint32_t number, size_t width = 4);
bytes with_text(bytes record, size_t offset, const std::string& text); // and a terminator, if there is room for one

// The same with a whole body, which lies at byte 8.
bytes cf_request(uint8_t code, const bytes& body);
bytes app_request(uint8_t code, const bytes& body);

// Parts of a body, or of a reply.
bytes u32(uint32_t number);
bytes text(const std::string& text); // with its terminator
bytes join(std::initializer_list<bytes> parts);

// The reply of a config daemon: zero but for its status and the parts at their offsets.
struct part {
    size_t offset;
    bytes content;
};
bytes config_reply(uint8_t status, std::initializer_list<part> parts = {});

// Waits until it holds, for as long as anyone would.
bool eventually(const std::function<bool()>& holds);

// Connects, or returns -1 with errno.
int dial(const std::string& path, int type = SOCK_STREAM);

// One last request and all that comes back until limit bytes are there, the daemon closes or the time is over.
bytes exchange(const std::string& path, const bytes& request, size_t limit = 832, int milliseconds = 10'000);

// One last request and the packets that come back until count are there, the daemon closes or the time is over.
std::vector<bytes> exchange_packets(const std::string& path, const bytes& request, size_t count,
                                    int milliseconds = 10'000);

} // namespace client
