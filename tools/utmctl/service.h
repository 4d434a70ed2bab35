#pragma once

#include "tools/utmctl/exit_status.h"

#include <string>

// A daemon as utmctl speaks of it, and what an exchange with it that failed comes to.

struct service {
    const char* name; // in sentences: "the NAME daemon"
    const char* socket;
};

struct failed_exchange {
    exit_status status;
    std::string cause;  // completes "the application daemon (SOCKET) ..."
    std::string report; // the line that the operation itself wrote about it
    int error = 0;      // the errno that stands for it
    int stopped = 0;    // the daemon's process, where that is stopped
};

std::string name_of(const service& daemon); // "the application daemon"

// What errno tells of an operation that failed.
failed_exchange exchange_failure(int error);
