#pragma once

#include "tools/utmctl/command.h"

// Takes what stands behind the words of a command as its options and arguments, and refuses what is wrong with them.
void parse_arguments(const family& group, const command& what, const std::vector<std::string>& arguments,
                     request& asked);
