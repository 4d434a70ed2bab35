#pragma once

#include "tests/sandbox/files.h"
#include "tests/sandbox/paths.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

// While it lives, what this thread mounts is seen by it alone, and by the processes that it starts.
class mounts_of_its_own {
public:
    mounts_of_its_own()
        : mounts_(open("/proc/self/ns/mnt", O_RDONLY | O_CLOEXEC)), folder_(open(".", O_PATH | O_CLOEXEC))
    {
        EXPECT_EQ(unshare(CLONE_NEWNS), 0) << strerror(errno);
    }
    mounts_of_its_own(const mounts_of_its_own&) = delete;
    mounts_of_its_own& operator=(const mounts_of_its_own&) = delete;
    ~mounts_of_its_own()
    {
        EXPECT_EQ(setns(mounts_, CLONE_NEWNS), 0) << strerror(errno);
        EXPECT_EQ(fchdir(folder_), 0) << strerror(errno);
        close(folder_);
        close(mounts_);
    }

private:
    int mounts_;
    int folder_;
};

// While it lives, this thread sees a machine on which the library is not installed.
class missing_key_file : mounts_of_its_own {
public:
    missing_key_file()
    {
        EXPECT_EQ(umount2("/usr/lib", MNT_DETACH), 0) << strerror(errno);
        EXPECT_NE(access(key_file, F_OK), 0);
    }
};

// While it lives, this thread sees a machine without a shell.
class missing_shell : mounts_of_its_own {
public:
    missing_shell()
    {
        EXPECT_EQ(mount("nothing", "/bin", "tmpfs", 0, nullptr), 0) << strerror(errno);
        EXPECT_NE(access("/bin/sh", F_OK), 0);
    }
};

// While it lives, this thread sees a machine on which another library file has been installed.
class replaced_key_file : mounts_of_its_own {
public:
    replaced_key_file()
    {
        write_file("/tmp/newer_library", "");
        EXPECT_EQ(mount("/tmp/newer_library", key_file, nullptr, MS_BIND, nullptr), 0) << strerror(errno);
    }
};
