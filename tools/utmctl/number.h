#pragma once

#include "operations/number.h"
#include "tools/utmctl/outcome.h"

#include <string>

// Numbers as arguments.

using operations::number_of;
using operations::parse_whole;

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
