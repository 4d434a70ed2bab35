#pragma once

#include <functional>
#include <string>

namespace counts {

// What an operation asked of kernel and heap.
struct cost {
    std::string calls; // the system calls in order, by the names that libc gives them
    unsigned long taken = 0;
    unsigned long given_back = 0;

    bool operator==(const cost&) const = default;
};

std::ostream& operator<<(std::ostream& out, const cost& cost);

// Runs prepare and then operation in a process of their own, and traces the latter.
cost cost_of(const std::function<void()>& prepare, const std::function<void()>& operation);

} // namespace counts
