// Usage and time limits of user profiles: each operation is one exchange with the application daemon.

#include "kqutm/profile.h"

#include "app/values.h"
#include "event/exchange.h"

namespace {

using app_event = utm_app_config_event;
using response = utm_event_response;

constexpr app_event about(uint8_t code, uint32_t profile)
{
    return {.code = code, .body = {.limits = {.profile = profile}}};
}

constexpr app_event about(uint8_t code, uint32_t profile, uint32_t query)
{
    return {.code = code, .body = {.limits = {.profile = profile, .weekday_or_query = query}}};
}

constexpr char set_failed[] = "%s(%d) fail\n";

// Deliberate: the head of the list that comes with the answer is not released.
int32_t status_of(const answer& got)
{
    return got != nullptr ? 0 : -1;
}

int32_t get_value(uint8_t code, uint32_t profile, uint32_t response::*value, uint32_t* output,
                  const char* operation = __builtin_FUNCTION())
{
    return status_of(ask_for_value(about(code, profile), value, output, "%s fail\n", operation));
}

} // namespace

UTM_API int32_t utm_user_profile_set_daily_limit_enable(uint32_t profile, int32_t enable)
{
    return tell(app_event{.code = UTM_APP_SET_DAILY_LIMIT_ENABLE,
                          .body = {.limits = {.profile = profile, .daily_limit_enable = enable}}},
                set_failed, __func__, enable);
}

UTM_API int32_t utm_user_profile_get_daily_limit_enable(uint32_t profile, uint32_t* enable)
{
    return get_value(UTM_APP_GET_DAILY_LIMIT_ENABLE, profile, &response::daily_limit_enable, enable);
}

UTM_API int32_t utm_user_profile_set_daily_limit(uint32_t profile, int32_t limit)
{
    return tell(app_event{.code = UTM_APP_SET_DAILY_LIMIT, .body = {.limits = {.profile = profile, .limit = limit}}},
                set_failed, __func__, limit);
}

UTM_API int32_t utm_user_profile_get_daily_limit(uint32_t profile, uint32_t* limit)
{
    return get_value(UTM_APP_GET_DAILY_LIMIT, profile, &response::daily_limit, limit);
}

UTM_API int32_t utm_user_profile_set_weekday_daily_limit(uint32_t profile, int32_t weekday, int32_t limit)
{
    return tell(app_event{.code = UTM_APP_SET_WEEKDAY_LIMIT,
                          .body = {.limits = {.profile = profile,
                                              .weekday_or_query = static_cast<uint32_t>(weekday),
                                              .limit = limit}}},
                "%s(weekday=%d, limit=%d) fail\n", __func__, weekday, limit);
}

UTM_API utm_weekday_limit_entry* utm_user_profile_get_weekday_daily_limit(uint32_t profile)
{
    return ask_for_list(about(UTM_APP_GET_WEEKDAY_LIMITS, profile), &response::weekday_limit_list,
                        "get utm_user_profile_get_weekday_daily_limit fail\n");
}

UTM_API int32_t utm_user_profile_set_extended(uint32_t profile, int32_t extension)
{
    return tell(
        app_event{.code = UTM_APP_SET_EXTENSION, .body = {.limits = {.profile = profile, .extension = extension}}},
        set_failed, __func__, extension);
}

UTM_API int32_t utm_user_profile_get_extended(uint32_t profile, uint32_t* extension)
{
    return get_value(UTM_APP_GET_EXTENSION, profile, &response::extension, extension);
}

UTM_API int32_t utm_user_profile_reset_extended(uint32_t profile)
{
    return status_of(ask(about(UTM_APP_RESET_EXTENSION, profile), "%s fail\n", __func__));
}

UTM_API int32_t utm_user_profile_get_usage(uint32_t profile, uint32_t* first, uint32_t* second, uint32_t* third)
{
    return status_of(ask_for_values(about(UTM_APP_GET_USAGE, profile), &response::usage, {first, second, third},
                                    "get utm_user_profile_get_usage fail\n"));
}

UTM_API utm_app_usage_entry* utm_user_profile_get_app_usage(uint32_t profile, uint32_t argument)
{
    return ask_for_list(about(UTM_APP_GET_USAGE_BY_APP, profile, argument), &response::app_usage_list,
                        "get utm_user_profile_get_app_usage fail\n");
}

// Deliberate: the earlier days report a failure with the text of the usage by application.
UTM_API utm_app_usage_prev_days_entry* utm_user_profile_get_app_usage_prev_days(uint32_t profile, uint32_t argument)
{
    return ask_for_list(about(UTM_APP_GET_USAGE_PREV_DAYS, profile, argument), &response::prev_days_list,
                        "get utm_user_profile_get_app_usage fail\n");
}
