#pragma once

#include <cstddef>
#include <string>

namespace operations {

// The time now in UTC, with so many of up to nine decimals: with three as in 2026-11-21T22:45:01.123Z.
std::string time_now(size_t decimals);

} // namespace operations
