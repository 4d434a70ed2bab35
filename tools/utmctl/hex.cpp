#include "tools/utmctl/hex.h"

#include "tools/utmctl/number.h"

std::string hex_of(std::span<const uint8_t> bytes)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const uint8_t byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 0xf];
    }
    return text;
}

std::optional<std::vector<uint8_t>> parse_hex(const std::string& text)
{
    if (text.size() % 2 != 0)
        return {};
    std::vector<uint8_t> bytes;
    for (size_t at = 0; at < text.size(); at += 2) {
        const std::optional<uint8_t> byte = number_of<uint8_t>(std::string_view(text).substr(at, 2), 16);
        if (!byte)
            return {};
        bytes.push_back(*byte);
    }
    return bytes;
}

std::string wrong_hex(const std::string& text, size_t least, size_t most)
{
    const std::string range = least == most ? "" : std::to_string(least) + " to ";
    return in_quotes(text) + " is not " + range + std::to_string(most) + " bytes, each of two hexadecimal digits";
}
