#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

// Texts as numbers.
namespace operations {

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

} // namespace operations
