#pragma once

#include "tools/utmctl/command_line.h"

// Whether the command prints as it goes, so that no other command can hold it.
bool streams(const command_line& line);

// The words of such a command, with the option that makes it one.
std::string streaming_words(const command_line& line);

// Runs the command of a line that was parsed. What goes wrong is in the outcome.
outcome run_line(const command_line& line);
