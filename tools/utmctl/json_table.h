#pragma once

#include "tools/utmctl/outcome.h"

#include <span>

// Lists of objects as tables.

// A member of the objects, and the heading of its column.
struct shown_member {
    const char* name;
    column shown;
};

// A value as a cell. Texts stay as they are: the table makes them printable itself.
std::string cell_of(const json& value);

table table_of(const json& list, std::span<const shown_member> members);
