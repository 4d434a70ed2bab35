#pragma once

#include "event/exchange.h"

// Ask the application daemon for one value, or three. Return its answer; null, with the outputs as they were, when an
// output is null or the exchange failed, which is logged.
answer ask_for_value(const utm_app_config_event& event, uint32_t utm_event_response::*value, uint32_t* output,
                     const char* failed, const char* operation = __builtin_FUNCTION());
answer ask_for_values(const utm_app_config_event& event, uint32_t (utm_event_response::*values)[3],
                      uint32_t* const (&outputs)[3], const char* failed, const char* operation = __builtin_FUNCTION());
