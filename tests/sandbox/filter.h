#pragma once

#include "tests/sandbox/rules.h"

#include <sys/stat.h>

// The files of the content filter, as the tests of its switches see them.

inline constexpr char safe_browsing_file[] = "/tmp/web_safe_browsing_activate";
inline constexpr char category_file[] = "/tmp/web_category_activate";
inline constexpr char marker[] = "/tmp/cf_activate";
inline constexpr char kernel_enable[] = "/proc/net/cfilter_enable";
inline constexpr char kernel_hdf_enable[] = "/proc/net/cfilter_hdf_enable";
inline constexpr char kernel_redirect_url[] = "/proc/net/cfilter_redirect_url";
inline constexpr char pid_file[] = "/var/run/contfltd.pid";
inline constexpr char command_file[] = "/var/run/contfltd.cmd";

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
