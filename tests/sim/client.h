#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// A client without the library: records at literal offsets.
namespace client {

using bytes = std::vector<uint8_t>;

// Requests whose unnamed bytes hold rubbish, as the wire allows.
bytes cf_request(uint8_t code, uint32_t id, const bytes& mac = {});
bytes app_request(uint8_t code, uint32_t id, const bytes& mac = {});
bytes user_profile_request(uint8_t code, uint32_t id, const bytes& mac = {});

// Connects, or returns -1 with errno.
int dial(const std::string& path);

// One request and all that comes back until limit bytes are there, the daemon closes or the time is over.
bytes exchange(const std::string& path, const bytes& request, size_t limit = 832, int milliseconds = 10'000);

} // namespace client
