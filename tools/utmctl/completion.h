#pragma once

#include <string>
#include <vector>

// Stands for the names of files, which a shell knows best.
constexpr char names_of_files[] = ":files";

// What may stand in place of the last of these words, which may be empty or the beginning of one. It is found in the
// command table; identifiers are those of the registry as it stands, which is neither locked nor created, and
// columns those of the command as a rehearsal prints them.
std::vector<std::string> completions_of(std::vector<std::string> words);
