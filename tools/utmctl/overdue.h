#pragma once

#include "tools/utmctl/outcome.h"
#include "tools/utmctl/service.h"

// What a call may have to wait for, so that it can be named when it does not come back in time.
struct awaited {
    std::vector<service> daemons = {}; // whose answers it waits for
    bool registry_lock = true;
    bool uuid_lock = false;
    std::string without_lock = {}; // what did not happen for sure when the lock was not given; empty: nobody knows
    std::string advice = {};       // where it is no lock that keeps the call; empty: the usual one
};

// Tells of a call that has not ended in time, and who kept it, as far as that can be known. What did not happen reads
// like "profile 7 was not deleted", within like "within 60 s".
problem overdue_call(const std::string& what, const std::string& within, const awaited& whom);
