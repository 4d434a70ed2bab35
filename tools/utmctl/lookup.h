#pragma once

#include "tools/utmctl/command.h"

#include <string>

// Finds what the words name, and refuses unknown words with a suggestion.
const family& find_family(const std::string& word);
const command& find_command(const family& group, const std::string& word);
