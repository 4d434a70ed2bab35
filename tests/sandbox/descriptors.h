#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

// While it lives, every descriptor below a number is taken, so that the next one opened is at least that.
class occupied_descriptors {
public:
    explicit occupied_descriptors(int below)
    {
        const rlim_t needed = static_cast<rlim_t>(below) + 64;
        EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before_), 0);
        const rlimit raised = {.rlim_cur = std::max(before_.rlim_cur, needed),
                               .rlim_max = std::max(before_.rlim_max, needed)};
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &raised), 0);
        for (;;) {
            int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
            if (fd < 0 || fd >= below) {
                close(fd);
                return;
            }
            taken_.push_back(fd);
        }
    }
    occupied_descriptors(const occupied_descriptors&) = delete;
    occupied_descriptors& operator=(const occupied_descriptors&) = delete;
    ~occupied_descriptors()
    {
        for (int fd : taken_)
            close(fd);
        setrlimit(RLIMIT_NOFILE, &before_);
    }

private:
    rlimit before_ = {};
    std::vector<int> taken_;
};

// While it lives, descriptor 0 is free, as in a program that closed its standard input.
class closed_stdin {
public:
    closed_stdin() : saved_(fcntl(0, F_DUPFD_CLOEXEC, 3)) { close(0); }
    closed_stdin(const closed_stdin&) = delete;
    closed_stdin& operator=(const closed_stdin&) = delete;
    ~closed_stdin()
    {
        dup2(saved_, 0);
        close(saved_);
    }

private:
    int saved_;
};
