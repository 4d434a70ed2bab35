#pragma once

#include "bench/statistics.h"

#include <string>
#include <vector>

namespace bench {

struct figures {
    std::string name;
    summary took;
    double goal; // of the ratio

    bool met() const { return took.ratio <= goal; }
};

// What has a limit instead of a goal, each in a unit of its own.
struct absolute {
    std::string name;
    double floor;
    double library;
    double limit; // 0: none

    bool met() const { return limit == 0 || library <= limit; }
};

void print_table(const std::vector<figures>& rows);
void print_limits(const std::vector<absolute>& rows);
// Whether each row is within its goal or limit; names those that are not.
bool all_met(const std::vector<figures>& ratios, const std::vector<absolute>& limits);
void write_plot(const std::string& path, const std::vector<figures>& rows);

} // namespace bench
