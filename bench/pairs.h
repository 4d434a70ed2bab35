#pragma once

#include <vector>

namespace bench {

// An operation, once by its floor and once by the library. Each releases what it gets.
struct pair {
    const char* name;
    void (*floor)();
    void (*library)();
    double goal;       // the ratio of the two times, at most
    long records = 0;  // of the list that comes
    int rounds = 1000; // each runs floor, library, library, floor
    int processes = 1; // that do it at once
};

const std::vector<pair>& pairs();

// What the operations find: the logs, and a registry full of profiles.
void prepare();

} // namespace bench
