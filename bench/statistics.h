#pragma once

#include <vector>

namespace bench {

// What a comparison took.
struct summary {
    double floor;   // nanoseconds, median
    double library; // the same
    double ratio;   // of a round, median
    double spread;  // of that ratio: half the distance of its quartiles
};

// What the rounds of a comparison took, each twice the floor and twice the library. Long operations have few rounds,
// and seldom run undisturbed on a busy machine: of those, the quietest quarter counts, which took the least time in
// all.
class rounds {
public:
    void add(double floor, double library); // of both runs together
    summary summarize() const;

private:
    struct round {
        double floor;
        double library;
    };

    std::vector<round> rounds_;
};

} // namespace bench
