#pragma once

#include <cerrno>
#include <string>
#include <system_error>

namespace sim {

// Gives up with errno as the cause.
[[noreturn]] inline void fail(const std::string& what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

} // namespace sim
