#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace sim {

using mac_address = std::array<uint8_t, 6>;

std::string to_text(const mac_address& mac);

// where names the place in the error for a text that is no MAC address.
mac_address mac_from(const std::string& text, const std::string& where);

} // namespace sim
