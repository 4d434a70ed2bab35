#pragma once

#include <unistd.h>
#include <utility>

// Owns a descriptor.
class descriptor {
public:
    explicit descriptor(int fd) : fd_(fd) {}
    descriptor(const descriptor&) = delete;
    descriptor& operator=(const descriptor&) = delete;
    ~descriptor() { reset(); }
    int get() const { return fd_; }
    void reset()
    {
        if (fd_ >= 0)
            close(std::exchange(fd_, -1));
    }

private:
    int fd_;
};
