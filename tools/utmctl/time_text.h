#pragma once

#include <string>

// The time now in UTC, as in 2026-11-21T22:45:01.123Z.
std::string time_now();
