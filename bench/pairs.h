#pragma once

#include <vector>

namespace bench {

// An operation, once by its floor and once by the library. Each releases what it gets.
struct pair {
    const char* name;
    void (*floor)();
    void (*library)();
    double goal;       // the ratio of the two times, at most
    long added = 0;    // the library's instructions over the floor's, at most; 0: no goal
    long records = 0;  // of the list that comes
    int rounds = 4000; // each runs floor, library, library, floor
    int processes = 1; // that do it at once
};

// What is not compared by time: the library's figure is to exceed the floor's by no more than this.
struct limit {
    const char* name;
    double (*floor)(); // null: there is nothing to compare with
    double (*library)();
    double added; // 0: it is told only
};

const std::vector<pair>& pairs();
const std::vector<limit>& limits();

// What the operations find: the logs, the UUID, and a registry as a household has it.
void prepare();

// Fills the registry, which the operations on it are compared with: they search it to its end.
void fill_registry();

} // namespace bench
