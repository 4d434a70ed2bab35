#pragma once

#include <string>

// Whether a command changes nothing, wherever it looks, so that it may be run again and again.
bool is_reading(const std::string& words);
