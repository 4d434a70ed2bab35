#pragma once

#include <string>

// Whether a command changes nothing, wherever it looks.
bool is_reading(const std::string& words);

// Why running a command again and again tells nothing; null when it may be watched.
const char* hindrance_to_watch(const std::string& words);

// What a command does that looks for itself how daemons and logs do, or only explains, so that there is nothing of the
// library to rehearse; null for all others.
const char* idle_deed(const std::string& words);
