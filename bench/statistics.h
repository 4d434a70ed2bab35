#pragma once

#include <vector>

namespace bench {

double quantile(std::vector<double> values, double share);

inline double median(const std::vector<double>& values)
{
    return quantile(values, 0.5);
}

// What the rounds of a comparison took, each floor, library, library, floor.
class rounds {
public:
    void add(double floor, double library, double library_again, double floor_again);

    double floor() const { return median(floor_); }
    double library() const { return median(library_); }
    double ratio() const { return median(ratios_); }
    double spread() const { return (quantile(ratios_, 0.75) - quantile(ratios_, 0.25)) / 2; }

private:
    std::vector<double> floor_;
    std::vector<double> library_;
    std::vector<double> ratios_;
};

} // namespace bench
