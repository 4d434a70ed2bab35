#pragma once

#include "tools/utmctl/help.h"

// The options that any command takes, as the help of one command tells them: without those that it refuses or that
// change nothing there. The words are those of a command, or empty.
std::vector<global_option> options_of(std::string_view words);
