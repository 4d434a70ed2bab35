#pragma once

#include "tools/utmctl/outcome.h"

#include <string>
#include <vector>

// What an examination of the box finds, to be told with the way out.

enum class severity {
    note,
    warning, // something will go wrong, or some programs cannot work
    error    // something does not work
};

struct finding {
    severity how_bad;
    std::string what; // a sentence without its full stop
    std::string remedy;
};

using findings = std::vector<finding>;

void append(findings& to, const findings& more);

// One line and one object for each finding, and the exit status of the worst. The check is null where there is one
// alone.
void tell(outcome& told, const findings& found, const char* check = nullptr);
