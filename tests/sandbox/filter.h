#pragma once

#include "tests/sandbox/paths.h"
#include "tests/sandbox/rules.h"

#include <sys/stat.h>

// What the tests of the content filter's switches have in common.

// A plan under which the content-filter daemon runs as process 4711, which no signal reaches, and nothing sleeps.
class running_filter : public impatient {
public:
    running_filter()
    {
        write_file(pid_file, "4711\n");
        answer("kill", wrap::every, 0);
    }
};

// A file that is there but cannot be opened, whoever tries: a socket gives ENXIO.
inline void make_unreadable(const std::string& path)
{
    EXPECT_EQ(mknod(path.c_str(), S_IFSOCK | 0600, 0), 0);
}
