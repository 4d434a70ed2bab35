#pragma once

#include <string>
#include <vector>

namespace sim {

// Brings lo up and gives it further addresses, IPv4 or IPv6 in text form.
void bring_up_loopback(const std::vector<std::string>& addresses);

} // namespace sim
