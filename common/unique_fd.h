#pragma once

#include "common/errno_guard.h"

#include <unistd.h>

// Owns a descriptor: closes it once and keeps errno, because the caller is about to report the failure before it.
// Converts to nothing: 0, -1 and "below 1" mean different things to different callers.
class unique_fd {
public:
    explicit unique_fd(int fd) : fd_(fd) {}
    unique_fd(unique_fd&& other) noexcept : fd_(other.release()) {}
    unique_fd(const unique_fd&) = delete;
    unique_fd& operator=(const unique_fd&) = delete;
    unique_fd& operator=(unique_fd&&) = delete;
    ~unique_fd() { close(); }

    int get() const { return fd_; }

    int release()
    {
        int fd = fd_;
        fd_ = -1;
        return fd;
    }

private:
    void close()
    {
        if (fd_ < 0)
            return;
        errno_guard keep;
        ::close(fd_);
    }

    int fd_;
};
