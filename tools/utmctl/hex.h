#pragma once

#include "operations/text.h"

// Bytes as pairs of hexadecimal digits, without anything between them.

using operations::hex_of;
using operations::parse_hex;

std::string wrong_hex(const std::string& text, size_t least, size_t most);

// Check for the command tables: that many bytes.
template <size_t least, size_t most> std::string check_hex(const std::string& text)
{
    const std::optional<std::vector<uint8_t>> bytes = parse_hex(text);
    return bytes && bytes->size() >= least && bytes->size() <= most ? "" : wrong_hex(text, least, most);
}
