#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

// Values of records as texts.
namespace operations {

// As far as the terminator, or as the field reaches.
std::string text_of(const char* first, size_t width);
template <size_t width> std::string text_of(const char (&text)[width])
{
    return text_of(text, width);
}

std::string hex_of(std::span<const uint8_t> bytes);
std::string mac_text(std::span<const uint8_t, 6> mac); // 02:42:ac:11:00:05

} // namespace operations
