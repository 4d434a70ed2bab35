#pragma once

#include "tools/utmctl/command.h"
#include "tools/utmctl/config_daemons.h"

#include "kqutm.hpp"

// Dumps into a file: what the library writes itself, through a shell, and what a daemon appends.

struct dump_kind {
    const char* subject;
    const config_daemon& daemon;
    kqutm::result<kqutm::done> (*call)(const std::string& path);
};

outcome dump(const dump_kind& kind, const request& asked);

template <const dump_kind& kind> outcome dump(const request& asked)
{
    return dump(kind, asked);
}
