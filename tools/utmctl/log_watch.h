#pragma once

#include "tools/utmctl/log_tail.h"

#include <string>
#include <vector>

// What is appended to a diagnostic log from now on, even when the log is rotated meanwhile.
class log_watch {
public:
    explicit log_watch(std::string path);
    std::vector<std::string> lines() const;

    // Whether the log could be written all the time: only then no line means that there was nothing to tell.
    bool takes_lines() const;

private:
    std::string path_;
    bool took_lines_;
    log_place start_;
};
