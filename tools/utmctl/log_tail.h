#pragma once

#include <string>
#include <sys/types.h>

// How far a diagnostic log was read: its file and the place in it.
struct log_place {
    ino_t inode = 0; // 0: there was none
    off_t offset = 0;
};

// The generation of a log that the next rotation replaces.
std::string older_generation(const std::string& path);

log_place end_of_log(const std::string& path);

// What was written to the log since it was read as far as the place, which moves to its end. A log that was rotated
// meanwhile went on under its second name, and started again under its first.
std::string read_log(const std::string& path, log_place& from);
