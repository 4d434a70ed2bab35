#pragma once

#include "kqutm/daemon.h"

#include <string>

// Sends a request that is nothing but its code, and returns the answer.
inline utm_event_response* ask(int code, int target)
{
    const uint8_t event[2056] = {static_cast<uint8_t>(code)};
    return send_utm_event_and_get_response(event, target);
}

// A line of the log as the reader writes it.
inline std::string reader_line(const std::string& text)
{
    return "[send_utm_event_and_get_response]" + text + "\n";
}
