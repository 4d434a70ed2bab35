#pragma once

#include "tools/utmctl/outcome.h"

// What differs between two results of a command.

struct change {
    const char* kind; // changed, added, removed, failed or recovered
    std::string path; // as in "result.entries[02:42:ac:11:00:05].ip"
    json before;      // null for what was added
    json after;       // null for what was removed
};

// Entries of a list are known by their id, or without one by their first member, where that tells them apart; else by
// their place, where the list kept its length; else by all they are.
std::vector<change> changes_between(const std::string& path, const json& before, const json& after);
