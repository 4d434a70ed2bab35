#pragma once

#include "tools/utmctl/command.h"

struct output_style {
    bool json = false;
    bool pretty = false;
    bool quiet = false;
    bool headers = true;
};

// Prints the outcome of a command: results on standard output, problems on standard error. Returns the exit status,
// which is not done when the results could not be written.
exit_status print(const std::string& command, const outcome& result, const output_style& style);
