#pragma once

#include <cerrno>
#include <cstddef>

// Keeps errno as it was on entry: logging and clean-up must not hide the cause of the failure they follow.
class errno_guard {
public:
    errno_guard() = default;
    errno_guard(const errno_guard&) = delete;
    errno_guard& operator=(const errno_guard&) = delete;
    ~errno_guard() { errno = cause_; }

private:
    int cause_ = errno;
};

// The failure values of operations, with their cause.
inline int fail(int cause)
{
    errno = cause;
    return -1;
}

inline std::nullptr_t fail_with_null(int cause)
{
    errno = cause;
    return nullptr;
}
