#pragma once

#include "tools/utmctl/config_daemons.h"
#include "tools/utmctl/deed.h"
#include "tools/utmctl/json_table.h"
#include "tools/utmctl/worker.h"

// Operations that are one exchange with a config daemon, as rows of tables.

// How an operation failed with errno, told in full where the lines that the diagnostic log gained meanwhile tell more.
failed_exchange failed_exchange_with(const config_daemon& daemon, int error, const std::vector<std::string>& log);

// What an exchange handed back that did not fail, and what was printed meanwhile.
struct exchanged {
    json value;
    std::string printed;
};

// Calls the library in a worker. Throws a failure when the operation failed.
exchanged exchange(const deed_words& words, const config_daemon& daemon, double timeout,
                   const std::function<kqutm::result<json>()>& operation);

// A change. {NAME} in its words stands for the argument of that name.
struct config_change {
    const config_daemon& daemon;
    const char* subject;
    const char* participle;
    kqutm::result<kqutm::done> (*call)(const request& asked);
};

outcome change(const config_change& row, const request& asked);

template <const config_change& row> outcome change(const request& asked)
{
    return change(row, asked);
}

// A reading: an array of objects for a list, and an object for anything else; one that has but one member to show is
// shown as a line.
struct config_reading {
    const config_daemon& daemon;
    const char* subject;
    std::span<const shown_member> members;
    kqutm::result<json> (*call)(const request& asked);
};

outcome read(const config_reading& row, const request& asked);

template <const config_reading& row> outcome read(const request& asked)
{
    return read(row, asked);
}
