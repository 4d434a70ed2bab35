#pragma once

#include "sim/strict_json.h"

#include <optional>
#include <string>

// Files that clients name, or leave for a daemon.
namespace sim {

// False where it cannot be done.
bool can_read(const std::string& path);
bool append_to(const std::string& path, const std::string& text);

// Creates the folder of path where it is missing.
bool write_anew(const std::string& path, const std::string& text);

// Text for people; bytes that are no UTF-8 are replaced.
std::string pretty(const json& value);

// Takes the number out of a file that its writer holds locked, and removes the file. None where there is no file, or no
// number in it.
std::optional<int> take_number(const char* path);

} // namespace sim
