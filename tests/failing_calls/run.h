#pragma once

#include "tests/counts/operations.h"

#include <string>
#include <vector>

// Runs an operation in a process of its own, in which calls of libc fail, and tells what it left behind.
namespace failing_calls {

// The nth call of a function fails, alone or with all that follow.
struct fault {
    std::string function;
    int error;
    int nth;
    bool lasting;
};

inline const fault no_fault = {"", 0, 0, false};

struct outcome {
    std::string result;      // as text
    int error = 0;           // errno
    std::string kept;        // what was not given back after the result was released, or empty
    int blocks = 0;          // taken from the heap
    std::string left_before; // for the caller beside the result, as text
    std::string left;
    std::string stored_before; // in registry and common segment, as text
    std::string stored;
    std::vector<std::string> calls; // in their order, with the arguments that matter

    int count(const std::string& function) const;
};

// What happened on the gateway before.
enum class history {
    none,
    everything_used_once
};

// Prepares, and calls the operation once.
outcome run(const counts::operation& operation, history history, const fault& fault);

} // namespace failing_calls
