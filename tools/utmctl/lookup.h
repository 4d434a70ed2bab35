#pragma once

#include "tools/utmctl/command.h"

#include <string>
#include <vector>

// The known word that is nearest, if it is near enough to be meant; else nothing.
std::string nearest_word(const std::string& word, const std::vector<std::string>& known);

// Finds what the words name, and refuses unknown words with a suggestion.
const family& find_family(const std::string& word);
const command& find_command(const family& group, const std::string& word);
