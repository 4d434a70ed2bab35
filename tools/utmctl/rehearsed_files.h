#pragma once

#include "tools/utmctl/rehearsal_note.h"

#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <utility>

// The files of a rehearsal: those of the machine, with what the command would have changed of them laid over.
class rehearsed_files {
public:
    explicit rehearsed_files(note add) : add_(std::move(add)) {}

    int access(const char* path, int mode) const;
    int stat(const char* path, struct stat* file) const;
    int open(const char* path, int flags, mode_t mode);
    FILE* fopen(const char* path, const char* mode);
    int unlink(const char* path);
    int run(const char* command);
    FILE* start(const char* command); // its output is empty
    int change(const char* path, const char* does);
    void settle(int fd); // which is being closed: tells what was written to it

private:
    using content = std::optional<std::string>; // none: there is no such file

    bool exists(const std::string& path) const;
    content content_of(const std::string& path) const;
    int refusal(const std::string& path, int flags) const;
    int open_copy(const std::string& path, int flags);
    void follow(const std::string& command);

    struct opened {
        std::string path;
        content before;
    };

    note add_;
    std::map<std::string, content> changed_;
    std::map<int, opened> open_; // for writing, by descriptor
};
