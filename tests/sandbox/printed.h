#pragma once

#include "tests/sandbox/files.h"

#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

// Sends what is written to a standard stream into a file, while it lives.
class redirected {
public:
    redirected(int stream, int file) : stream_(stream), saved_(fcntl(stream, F_DUPFD_CLOEXEC, 3))
    {
        fflush(nullptr);
        dup2(file, stream_);
    }
    redirected(const redirected&) = delete;
    redirected& operator=(const redirected&) = delete;
    ~redirected()
    {
        fflush(nullptr);
        dup2(saved_, stream_);
        close(saved_);
    }

private:
    int stream_;
    int saved_;
};

// What body prints, on standard output and standard error together.
inline std::string printed_by(const std::function<void()>& body)
{
    const int file = memfd_create("printed", MFD_CLOEXEC);
    {
        redirected output(STDOUT_FILENO, file);
        redirected errors(STDERR_FILENO, file);
        body();
    }
    std::string text = content_of("/proc/self/fd/" + std::to_string(file));
    close(file);
    return text;
}
