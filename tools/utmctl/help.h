#pragma once

#include "tools/utmctl/command.h"

// Help, made of the command tables.

struct global_option {
    const char* shown;
    const char* help;
};

constexpr global_option global_options[] = {
    {"-j, --json[=pretty]", "print one JSON value instead, on success and on failure"},
    {"-q, --quiet", "leave out confirmations"},
    {"    --no-headers", "leave out the headings of tables"},
    {"    --columns HEADINGS", "the columns of a table to show, in this order, with commas between (default: all)"},
    {"    --timeout SECONDS", "how long each call of the library may take (default 60)"},
    {"    --wait SECONDS", "how long to wait first for the daemons that the command needs (default: not at all)"},
    {"    --yes", "what the command destroys may be destroyed"},
    {"    --dry-run", "print the records that would be sent and what else would change, and do nothing"},
    {"    --explain", "tell what the library logged and printed meanwhile, and what that means"},
    {"-h, --help", "explain utmctl, or the command"},
    {"    --version", "print the version"},
};

outcome help_on(const std::vector<std::string>& given);
outcome help_on_everything();
outcome help_on_family(const family& group);
outcome help_on_command(const family& group, const command& one);
