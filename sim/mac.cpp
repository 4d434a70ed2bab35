#include "sim/mac.h"

#include "operations/text.h"
#include "sim/strict_json.h"

#include <cstdio>

namespace sim {

std::string to_text(const mac_address& mac)
{
    return operations::mac_text(mac);
}

mac_address mac_from(const std::string& text, const std::string& where)
{
    mac_address mac = {};
    int end = 0;
    sscanf(text.c_str(), "%2hhx:%2hhx:%2hhx:%2hhx:%2hhx:%2hhx%n", &mac[0], &mac[1], &mac[2], &mac[3], &mac[4], &mac[5],
           &end);
    if (text.size() != 17 || end != 17)
        throw input_error(where + ": \"" + text + "\" is no MAC address");
    return mac;
}

} // namespace sim
