#include "operations/profile_codes.h"

namespace operations {

namespace {

using enum field_type;
using enum reply_form;

constexpr size_t body = offsetof(utm_app_config_event, body);

constexpr field path[] = {{"path", text, 8, 128}};
constexpr field value[] = {{"value", signed_number, 8, 4}};
constexpr field policy[] = {{"policy", signed_number, 8, 4}};
constexpr field entries[] = {{"policy", signed_number, 8, 4}, {"count", number, 12, 4}, {"entries", hex, 16, 80}};
constexpr field binding[] = {{"profile", signed_number, 8, 4}, {"policy", signed_number, 12, 4}};
constexpr field profile[] = {{"profile", signed_number, 8, 4}};
constexpr field enable[] = {{"profile", signed_number, 8, 4}, {"enable", signed_number, 16, 4}};
constexpr field limit[] = {{"profile", signed_number, 8, 4}, {"limit", signed_number, 20, 4}};
constexpr field weekday[] = {
    {"profile", signed_number, 8, 4}, {"weekday", signed_number, 12, 4}, {"limit", signed_number, 20, 4}};
constexpr field extension[] = {{"profile", signed_number, 8, 4}, {"extension", signed_number, 24, 4}};
constexpr field query[] = {{"profile", signed_number, 8, 4}, {"app", number, 12, 4}};

constexpr field usage_reply[] = {{"today", number, 16, 4}, {"week", number, 20, 4}, {"month", number, 24, 4}};
constexpr field app_reply[] = {{"app", number, 48, 4}, {"minutes", number, 52, 4}};
constexpr field earlier_reply[] = {{"app", number, 80, 4}, {"minutes", hex, 84, 124}};
constexpr field enable_reply[] = {{"enable", signed_number, 224, 4}};
constexpr field limit_reply[] = {{"limit", signed_number, 228, 4}};
constexpr field extension_reply[] = {{"extension", signed_number, 232, 4}};
constexpr field status_reply[] = {{"first", number, 236, 4}, {"second", number, 240, 4}, {"third", number, 244, 4}};
constexpr field weekday_reply[] = {{"weekday", signed_number, 264, 4}, {"limit", signed_number, 268, 4}};
constexpr field interval_reply[] = {{"interval", signed_number, 280, 4}};

constexpr code_row codes[] = {
    create_profile<body>,
    delete_profile<body>,
    add_device<body>,
    delete_device<body>,
    {UTM_APP_SET_DAILY_LIMIT_ENABLE, "switch daily limit", enable},
    {UTM_APP_GET_DAILY_LIMIT_ENABLE, "get daily limit switch", profile, enable_reply},
    {UTM_APP_SET_DAILY_LIMIT, "set daily limit", limit},
    {UTM_APP_GET_DAILY_LIMIT, "get daily limit", profile, limit_reply},
    {UTM_APP_SET_WEEKDAY_LIMIT, "set weekday limit", weekday},
    {UTM_APP_GET_WEEKDAY_LIMITS, "get weekday limits", profile, weekday_reply, list},
    {UTM_APP_SET_EXTENSION, "set extension", extension},
    {UTM_APP_GET_EXTENSION, "get extension", profile, extension_reply},
    {UTM_APP_RESET_EXTENSION, "reset extension", profile},
    {UTM_APP_GET_USAGE, "get usage", profile, usage_reply},
    {UTM_APP_GET_USAGE_BY_APP, "get usage by application", query, app_reply, list},
    {UTM_APP_GET_USAGE_PREV_DAYS, "get usage of earlier days", query, earlier_reply, list},
    {UTM_APP_DUMP, "dump", path},
    {UTM_APP_ACTIVATE, "switch application control", value},
    {UTM_APP_DEBUG, "debug", value},
    {UTM_APP_POLICY_CREATE, "create policy", policy},
    {UTM_APP_POLICY_ADD_ENTRIES, "add entries", entries},
    {UTM_APP_POLICY_RESET_ENTRIES, "reset entries", policy},
    {UTM_APP_BIND_POLICY, "bind policy", binding},
    {UTM_APP_UPDATE_SIGNATURE, "update signature", path},
    {UTM_APP_GET_DAEMON_STATUS, "get status", {}, status_reply},
    {UTM_APP_GET_EXPORT_INTERVAL, "get export interval", {}, interval_reply},
    {UTM_APP_SET_EXPORT_INTERVAL, "set export interval", value},
    {UTM_APP_IMPORT_STATISTICS, "import statistics", path},
    {UTM_APP_EXPORT_STATISTICS, "export statistics", path},
};

} // namespace

std::span<const code_row> app_codes()
{
    return codes;
}

} // namespace operations
