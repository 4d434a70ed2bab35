#pragma once

#include "tools/utmctl/overdue.h"

#include <functional>
#include <string>

// Calls of the library in a process of its own: they cannot hang the command, and what they print does not mix with its
// results. A worker that is killed at the deadline gives its locks back.

struct call_result {
    json value;          // what the body returned
    int error = 0;       // errno after the call
    std::string printed; // what the call printed on standard output or standard error
};

// What the calls of all workers so far have printed.
const std::string& printed_so_far();

// Runs body in a worker and returns what it handed back. Throws a failure, which starts with what, when the body has
// not returned after so many seconds, or when the worker dies. What the body returns may hold binary values, such as
// whole lists of records.
call_result call_in_worker(const std::string& what, double seconds, const std::function<json()>& body,
                           const awaited& whom = {});
