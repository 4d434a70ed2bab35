#pragma once

#include <ostream>
#include <string>
#include <vector>

// utmctl as its users see it: what it prints, and how it ends.
struct run_result {
    int status;
    std::string out;
    std::string err;

    friend bool operator==(const run_result&, const run_result&) = default;
};

std::ostream& operator<<(std::ostream& stream, const run_result& result);

// Runs utmctl with the words of the line.
run_result utmctl(const std::string& line);
