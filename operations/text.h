#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Values of records as texts.
namespace operations {

// As far as the terminator, or as the field reaches.
std::string text_of(const char* first, size_t width);
template <size_t width> std::string text_of(const char (&text)[width])
{
    return text_of(text, width);
}

// Bytes as pairs of hexadecimal digits, without anything between them.
std::string hex_of(std::span<const uint8_t> bytes);
std::optional<std::vector<uint8_t>> parse_hex(std::string_view text);

// What a path may consist of that a shell sees unquoted.
inline constexpr char harmless_to_shells[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-+,:@%=";

// Six pairs of hexadecimal digits, with five colons or five hyphens between them.
std::optional<std::array<uint8_t, 6>> parse_mac(std::string_view text);
std::string mac_text(std::span<const uint8_t, 6> mac); // 02:42:ac:11:00:05

} // namespace operations
