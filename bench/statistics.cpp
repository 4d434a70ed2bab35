#include "bench/statistics.h"

#include <algorithm>

namespace bench {

namespace {

constexpr size_t many = 1000;

double quantile(std::vector<double> values, double share)
{
    const auto place = values.begin() + static_cast<long>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

} // namespace

void rounds::add(double floor, double library)
{
    rounds_.push_back({floor / 2, library / 2});
}

summary rounds::summarize() const
{
    std::vector<round> all = rounds_;
    const auto shorter = [](const round& one, const round& other) {
        return one.floor + one.library < other.floor + other.library;
    };
    std::sort(all.begin(), all.end(), shorter);
    if (all.size() < many)
        all.resize((all.size() + 3) / 4);
    std::vector<double> floor;
    std::vector<double> library;
    std::vector<double> ratios;
    for (const round& each : all) {
        floor.push_back(each.floor);
        library.push_back(each.library);
        ratios.push_back(each.library / each.floor);
    }
    return {quantile(floor, 0.5), quantile(library, 0.5), quantile(ratios, 0.5),
            (quantile(ratios, 0.75) - quantile(ratios, 0.25)) / 2};
}

} // namespace bench
