#pragma once

#include "tools/utmctl/help.h"

// The options that any command takes, as the help of one command tells them: for those that only look, without what
// they refuse or what changes nothing there. The words are those of a command, or empty.
std::vector<global_option> options_of(std::string_view words);
