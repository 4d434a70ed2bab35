#pragma once

#include <set>
#include <sstream>
#include <string>

// The lines of a text, where their order does not matter.
using unordered_lines = std::multiset<std::string>;

inline unordered_lines lines_of(const std::string& text)
{
    std::istringstream stream(text);
    unordered_lines found;
    for (std::string line; std::getline(stream, line);)
        found.insert(line);
    return found;
}
