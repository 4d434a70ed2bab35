#pragma once

#include "kqutm/daemon.h"

#include "common/errno_guard.h"

#include <cstdlib>
#include <memory>

// What the operations do with the config daemons: tell them something, ask for values, ask for a list. The record's
// type says which daemon it is for.

constexpr int target_of(const utm_cf_config_event&)
{
    return UTM_CONFIG_TARGET_CF;
}

constexpr int target_of(const utm_app_config_event&)
{
    return UTM_CONFIG_TARGET_APP;
}

constexpr int target_of(const utm_user_profile_config_event&)
{
    return UTM_CONFIG_TARGET_USER_PROFILE;
}

// Returns the status of the exchange, 0 or -1.
template <class Event> int32_t tell(const Event& event)
{
    return send_utm_config_event(&event, target_of(event));
}

// The same, and logs a failure.
template <class Event, class... Values> int32_t tell(const Event& event, const char* failed, Values... values)
{
    const int32_t status = tell(event);
    if (status != 0)
        utm_log(UTM_APPCF_LOG, failed, values...);
    return status;
}

struct free_response {
    void operator()(utm_event_response* response) const { free(response); }
};
using answer = std::unique_ptr<utm_event_response, free_response>;

// Null on failure, which is logged with the name of the operation where the text has a place for it. The answer does
// not own the list in it.
template <class Event> answer ask(const Event& event, const char* failed, const char* operation)
{
    answer response(send_utm_event_and_get_response(&event, target_of(event)));
    if (response == nullptr)
        utm_log(UTM_APPCF_LOG, failed, operation);
    return response;
}

// The list of an answer, which the caller owns, or null, logged, on failure.
template <class Event, class Entry>
Entry* ask_for_list(const Event& event, Entry* utm_event_response::*list, const char* failed,
                    const char* operation = __builtin_FUNCTION())
{
    const answer response = ask(event, failed, operation);
    return response == nullptr ? nullptr : response.get()->*list;
}
