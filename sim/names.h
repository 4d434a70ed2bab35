#pragma once

#include <string>

namespace sim {

// The names of all rows of a table, for people.
std::string names_of(const auto& rows)
{
    std::string names;
    for (const auto& row : rows)
        names += (names.empty() ? "" : ", ") + std::string(row.name);
    return names;
}

} // namespace sim
