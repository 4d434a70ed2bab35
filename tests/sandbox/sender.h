#pragma once

#include <cstdint>
#include <string>

// An event as long as the longest record; the sender takes from it what its target gets.
inline constexpr uint8_t event[2056] = {9, 8, 7, 6, 5, 4, 3, 2, 1, 9, 8, 7, 6, 5, 4, 3, 2, 1};

// A line of the log as the sender writes it.
inline std::string sender_line(const std::string& text)
{
    return "[send_utm_config_event]" + text + "\n";
}
