#pragma once

#include <string>

// Paths that the library hands to a shell, unquoted, or to a daemon, which has a working folder of its own.

// Check for the command tables: nothing in it that a shell interprets, and short enough for a record.
std::string check_file_path(const std::string& text);

// The absolute path of a text that passed its check.
std::string path_of(const std::string& text);
