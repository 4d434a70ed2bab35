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

std::string line_of(const finding& one);

// The object of a finding, and the exit status of the worst. The check is null where there is one alone.
void record(outcome& told, const finding& one, const char* check = nullptr);

// One line and one object for each finding.
void tell(outcome& told, const findings& found);
