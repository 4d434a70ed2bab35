#pragma once

#include <string>

// Paths of files that the library or a daemon is to open: a daemon has a working folder of its own, so they start at
// the root when they are handed on.

// The absolute path of a text that passed its check.
std::string path_of(const std::string& text);

std::string wrong_path(const std::string& text, size_t most);

// Checks for the command tables: check_path<127> for up to 127 characters.
template <size_t most> std::string check_path(const std::string& text)
{
    return wrong_path(text, most);
}

// A path for the config daemons: the library hands some of them to a shell, unquoted.
std::string check_shell_path(const std::string& text);
