#pragma once

#include <span>
#include <string_view>

// What the texts mean that the library writes to its diagnostic logs and on standard output.
struct meaning {
    const char* text; // as the library has it, without its end of line; %s and %d stand for what differs
    const char* means;
};

std::span<const meaning> all_meanings();

// The row of a text as it was written, behind the operation and line that it may begin with; null for one that is not
// the library's.
const meaning* meaning_of(std::string_view written);
