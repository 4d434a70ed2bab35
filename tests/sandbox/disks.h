#pragma once

#include "tests/sandbox/files.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/mount.h>

// Folders on disks that take nothing.

// While it lives, the folder lies on a disk of its own, which is full but for what was put there first.
class full_disk {
public:
    explicit full_disk(const std::string& folder, const std::string& first = "", const std::string& content = "")
        : folder_(folder)
    {
        std::filesystem::create_directory(folder);
        EXPECT_EQ(mount("small", folder.c_str(), "tmpfs", 0, "size=8192"), 0) << strerror(errno);
        if (!first.empty())
            write_file(folder + "/" + first, content);
        write_file(folder + "/other", std::string(1 << 20, 'x'));
    }
    full_disk(const full_disk&) = delete;
    full_disk& operator=(const full_disk&) = delete;
    ~full_disk() { EXPECT_EQ(umount(folder_.c_str()), 0) << strerror(errno); }

private:
    std::string folder_;
};

// While it lives, nothing can be created, changed or removed in the folder, by root neither.
class read_only_folder {
public:
    explicit read_only_folder(const char* folder) : folder_(folder)
    {
        EXPECT_EQ(mount(folder, folder, nullptr, MS_BIND | MS_REC, nullptr), 0) << strerror(errno);
        EXPECT_EQ(mount(nullptr, folder, nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY | MS_NOSUID, nullptr), 0)
            << strerror(errno);
    }
    read_only_folder(const read_only_folder&) = delete;
    read_only_folder& operator=(const read_only_folder&) = delete;
    ~read_only_folder() { EXPECT_EQ(umount2(folder_, MNT_DETACH), 0) << strerror(errno); }

private:
    const char* folder_;
};
