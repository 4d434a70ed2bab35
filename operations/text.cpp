#include "operations/text.h"

#include "operations/number.h"

#include <cstdio>
#include <cstring>

namespace operations {

std::string text_of(const char* first, size_t width)
{
    return {first, strnlen(first, width)};
}

std::string hex_of(std::span<const uint8_t> bytes)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (uint8_t byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

std::optional<std::vector<uint8_t>> parse_hex(std::string_view text)
{
    if (text.size() % 2 != 0)
        return {};
    std::vector<uint8_t> bytes;
    for (size_t at = 0; at < text.size(); at += 2) {
        const std::optional<uint8_t> byte = number_of<uint8_t>(text.substr(at, 2), 16);
        if (!byte)
            return {};
        bytes.push_back(*byte);
    }
    return bytes;
}

std::optional<std::array<uint8_t, 6>> parse_mac(std::string_view text)
{
    std::array<uint8_t, 6> mac;
    if (text.size() != 3 * mac.size() - 1)
        return {};
    for (size_t i = 0; i < mac.size(); ++i) {
        const std::optional<uint8_t> pair = number_of<uint8_t>(text.substr(3 * i, 2), 16);
        const bool separated = i == 0 || (text[3 * i - 1] == text[2] && (text[2] == ':' || text[2] == '-'));
        if (!pair || !separated)
            return {};
        mac[i] = *pair;
    }
    return mac;
}

std::string mac_text(std::span<const uint8_t, 6> mac)
{
    char text[18];
    snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    return text;
}

} // namespace operations
