#pragma once

#include <optional>
#include <string>
#include <vector>

// The library's locks as they stand. Looking at one neither takes nor creates it.

struct lock {
    const char* name;     // "the registry lock"
    int project;          // makes its key
    const char* shown_by; // the command that tells what it guards
};

extern const lock registry_lock;
extern const lock uuid_lock;

struct lock_view {
    int set;
    int value;   // 1 while the lock is free
    int process; // the last one that changed the value; where the lock is taken, the one that took it
    int waiting; // processes that wait for it
    unsigned mode;

    bool taken() const { return value == 0; }
    bool for_several() const { return value > 1; } // which the library never makes it
};

// Nothing, with errno, where there is no such lock or it may not be looked at.
std::optional<lock_view> look_at(const lock& one);

// What is told of a lock for several.
std::string several_may_hold(const lock_view& seen);

// The processes that wait for it, as far as the kernel shows what they wait for.
std::vector<int> waiting_for(const lock_view& seen);
