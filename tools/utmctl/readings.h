#pragma once

#include <string>

// Whether a command changes nothing, wherever it looks, so that it may be run again and again.
bool is_reading(const std::string& words);

// Whether a command looks for itself how daemons and logs do, so that there is nothing of the library to rehearse.
bool only_looks(const std::string& words);
