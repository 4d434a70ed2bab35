#pragma once

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

// While it lives, this thread sees a machine on which the library is not installed.
class missing_key_file {
public:
    missing_key_file()
        : mounts_(open("/proc/self/ns/mnt", O_RDONLY | O_CLOEXEC)), folder_(open(".", O_PATH | O_CLOEXEC))
    {
        EXPECT_EQ(unshare(CLONE_NEWNS), 0) << strerror(errno);
        EXPECT_EQ(umount2("/usr/lib", MNT_DETACH), 0) << strerror(errno);
        EXPECT_NE(access("/usr/lib/libkqutm.so", F_OK), 0);
    }
    missing_key_file(const missing_key_file&) = delete;
    missing_key_file& operator=(const missing_key_file&) = delete;
    ~missing_key_file()
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
