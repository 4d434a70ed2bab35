#pragma once

#include "tools/utmctl/command.h"

// What a command would do, told step by step instead of done. It ends as it would if every daemon accepted.
outcome dry_run(const request& asked);

// The headings of the table that it prints; none where it prints no table.
std::vector<std::string> rehearsed_headings(const request& asked);
