#pragma once

#include "kqutm/common.h"

#include <cstring>

// The text of an error number, taken before a logger touches files. Thread-safe.
class error_text {
public:
    // cppcheck-suppress uninitMemberVar ; what strerror_r leaves of the buffer is never read
    explicit error_text(int error) : text_(text_from(strerror_r(error, buffer_, sizeof buffer_))) {}
    error_text(const error_text&) = delete;
    error_text& operator=(const error_text&) = delete;

    const char* c_str() const { return text_; }

private:
    // What strerror_r returns is the text in glibc, and in other libraries whether it stands in the buffer.
    static const char* text_from(const char* text) { return text; }
    const char* text_from(int) const { return buffer_; }

    char buffer_[128];
    const char* text_;
};

// Opens a file as "a+" does: for reading and appending, created where it is missing. Returns a descriptor or -1.
int open_for_appending(const char* path);

// Prints a line, given with its newline, on standard output in one piece. Keeps errno.
void print_line(const char* line);
