#include "bench/statistics.h"

#include <algorithm>

namespace bench {

double quantile(std::vector<double> values, double share)
{
    const auto place = values.begin() + static_cast<long>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

void rounds::add(double floor, double library, double library_again, double floor_again)
{
    floor_.insert(floor_.end(), {floor, floor_again});
    library_.insert(library_.end(), {library, library_again});
    ratios_.push_back((library + library_again) / (floor + floor_again));
}

} // namespace bench
