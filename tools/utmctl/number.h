#pragma once

#include "tools/utmctl/outcome.h"

#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Numbers as arguments.

// The whole text as a number, or nothing.
template <class Number, class... Format> std::optional<Number> number_of(std::string_view text, Format... format)
{
    Number number = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, format...);
    if (error != std::errc() || end != text.data() + text.size())
        return {};
    return number;
}

// A whole number, in decimal or with 0x in hexadecimal digits.
inline std::optional<int64_t> parse_whole(std::string_view text)
{
    return text.starts_with("0x") && !text.starts_with("0x-") ? number_of<int64_t>(text.substr(2), 16)
                                                              : number_of<int64_t>(text);
}

// Checks for the command tables: check_whole<1, 10>.
template <int64_t low, int64_t high> std::string check_whole(const std::string& text)
{
    const std::optional<int64_t> number = parse_whole(text);
    if (number && *number >= low && *number <= high)
        return "";
    return in_quotes(text) + " is not a whole number from " + std::to_string(low) + " to " + std::to_string(high);
}

// The value of a text that passed its check.
template <class Number> Number whole_of(const std::string& text)
{
    return static_cast<Number>(parse_whole(text).value());
}
