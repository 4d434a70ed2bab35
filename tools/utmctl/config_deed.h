#pragma once

#include "tools/utmctl/config_daemons.h"
#include "tools/utmctl/deed.h"
#include "tools/utmctl/json_table.h"
#include "tools/utmctl/worker.h"

// Operations that are one exchange with a config daemon, as rows of tables.

// The problem of an operation that failed with errno, told in full where the lines that the diagnostic log gained
// meanwhile tell more.
problem config_problem(const std::string& what, const config_daemon& daemon, int error,
                       const std::vector<std::string>& log);

// Calls the library in a worker. Throws a failure when the body returns null, as it does for an operation that failed.
call_result exchange(const deed_words& words, const config_daemon& daemon, double timeout,
                     const std::function<json()>& body);

// What a body returns for an operation that returned this.
json accepted(int32_t returned);

// A change. {NAME} in its words stands for the argument of that name.
struct config_change {
    const config_daemon& daemon;
    const char* subject;
    const char* participle;
    int32_t (*call)(const request& asked);
};

outcome change(const config_change& row, const request& asked);

template <const config_change& row> outcome change(const request& asked)
{
    return change(row, asked);
}

// A reading. The call returns null when it failed, an array of objects for a list, and an object for anything else;
// one that has but one member to show is shown as a line.
struct config_reading {
    const config_daemon& daemon;
    const char* subject;
    std::span<const shown_member> members;
    json (*call)(const request& asked);
};

outcome read(const config_reading& row, const request& asked);

template <const config_reading& row> outcome read(const request& asked)
{
    return read(row, asked);
}
