#pragma once

#include "common/errno_guard.h"

#include <cstdio>
#include <memory>
#include <unistd.h>

inline bool file_exists(const char* path)
{
    return access(path, F_OK) == 0;
}

struct close_stream {
    void operator()(FILE* stream) const
    {
        errno_guard keep;
        fclose(stream);
    }
};
using owned_file = std::unique_ptr<FILE, close_stream>;
