// The application engine: switches, signatures, status, and the statistics with their file and interval.

#include "kqutm/app.h"

#include "app/values.h"
#include "common/text.h"
#include "event/exchange.h"

namespace {

using app_event = utm_app_config_event;

constexpr char failed[] = "%s fail\n";

constexpr app_event with_value(uint8_t code, int32_t value)
{
    return {.code = code, .body = {.value = value}};
}

// Deliberate: a path that is too long is refused without a line.
int32_t move_statistics(uint8_t code, const char* path, const char* operation = __builtin_FUNCTION())
{
    app_event event = {.code = code};
    if (!put_whole_text(event.body.path, path != nullptr ? path : UTM_APP_STATISTICS_FILE))
        return -1;
    return tell(event, failed, operation);
}

} // namespace

UTM_API int32_t utm_app_activate(int32_t value)
{
    return tell(with_value(UTM_APP_ACTIVATE, value), "set app activate(%d) fail\n", value);
}

UTM_API int32_t utm_app_debug(int32_t value)
{
    return tell(with_value(UTM_APP_DEBUG, value), "set app debug(%d) fail\n", value);
}

// Deliberate: a path that fills its field is cut there and has no terminator.
UTM_API int32_t utm_app_update_signature(const char* path)
{
    if (path == nullptr)
        return fail(EINVAL);
    app_event event = {.code = UTM_APP_UPDATE_SIGNATURE};
    fill_text(event.body.path, path);
    return tell(event, failed, __func__);
}

UTM_API int32_t utm_app_daemon_status(uint32_t* first, uint32_t* second, uint32_t* third)
{
    const answer got = ask_for_values(app_event{.code = UTM_APP_GET_DAEMON_STATUS}, &utm_event_response::daemon_status,
                                      {first, second, third}, failed);
    return got != nullptr ? 0 : -1;
}

// Its answer comes with a list that nobody asked for.
UTM_API int32_t utm_app_get_export_interval(uint32_t* interval)
{
    const answer got = ask_for_value(app_event{.code = UTM_APP_GET_EXPORT_INTERVAL},
                                     &utm_event_response::export_interval, interval, failed);
    if (got == nullptr)
        return -1;
    utm_user_profile_free_app_usage_list(got->app_usage_list);
    return 0;
}

UTM_API int32_t utm_app_set_export_interval(int32_t interval)
{
    return tell(with_value(UTM_APP_SET_EXPORT_INTERVAL, interval), "%s(%d) fail\n", __func__, interval);
}

UTM_API int32_t utm_app_import_statistics(const char* path)
{
    return move_statistics(UTM_APP_IMPORT_STATISTICS, path);
}

UTM_API int32_t utm_app_export_statistics(const char* path)
{
    return move_statistics(UTM_APP_EXPORT_STATISTICS, path);
}
