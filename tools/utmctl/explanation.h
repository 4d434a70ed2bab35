#pragma once

#include "tools/utmctl/log_watch.h"
#include "tools/utmctl/outcome.h"

// What the library leaves in its diagnostic logs and on standard output during a command, and what that means.
class explanation {
public:
    explanation(); // from now on

    // The texts in order, those of each log and then the printed ones: objects of "source", "text", "times" (one after
    // the other) and "meaning".
    json tell() const;

private:
    std::vector<log_watch> logs_;
};

// The same for people, as lines.
std::vector<std::string> lines_of(const json& explained);
