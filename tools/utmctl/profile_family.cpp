#include "tools/utmctl/arguments.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/number.h"
#include "tools/utmctl/policy.h"
#include "tools/utmctl/profile.h"
#include "tools/utmctl/profile_limits.h"
#include "tools/utmctl/profile_mapping.h"

namespace {

constexpr argument id = {"ID", occurs::once, check_id, "the identifier of the profile"};
constexpr argument limit = {"LIMIT", occurs::once, check_number, "a whole number, in the daemon's unit"};
constexpr argument query = {"QUERY", occurs::at_most_once, check_whole<0, UINT32_MAX>,
                            "what the daemon is to select, by a number of its own; none: 0"};

constexpr argument new_id[] = {
    {"ID", occurs::at_most_once, check_id_or_zero, "the identifier to take; 0 or none: the current time in seconds"},
};
constexpr argument ids[] = {
    {"ID", occurs::at_least_once, check_id, "the identifiers of the profiles"},
};
constexpr argument id_and_devices[] = {
    id,
    {"MAC", occurs::at_least_once, check_mac, "the devices' MAC addresses, such as 02:42:ac:11:00:05"},
};
constexpr argument one_id[] = {id};
constexpr argument id_and_policy[] = {id, {"POLICY", occurs::once, check_id, "the identifier of the policy"}};
constexpr argument id_and_switch[] = {id, {"SWITCH", occurs::once, check_switch, "on, off, or a whole number"}};
constexpr argument id_and_limit[] = {id, limit};
constexpr argument id_weekday_limit[] = {
    id,
    {"WEEKDAY", occurs::once, check_number, "the weekday, by the daemon's own number"},
    limit,
};
constexpr argument id_and_extension[] = {
    id,
    {"EXTENSION", occurs::once, check_number, "a whole number, in the daemon's unit"},
};
constexpr argument id_and_query[] = {id, query};

constexpr command commands[] = {
    {"create",
     new_id,
     {create_profile, "utm_user_profile_create"},
     "create a profile and print its identifier",
     nullptr,
     "profile create 7"},
    {"delete",
     ids,
     {delete_profiles, "utm_user_profile_delete"},
     "delete profiles, and the policies bound to them",
     nullptr,
     "profile delete 7 8"},
    {"add-device",
     id_and_devices,
     {add_devices, "utm_user_profile_add_dev"},
     "add devices to a profile",
     nullptr,
     "profile add-device 7 02:42:ac:11:00:05"},
    {"del-device",
     id_and_devices,
     {delete_devices, "utm_user_profile_del_dev"},
     "remove devices from a profile",
     nullptr,
     "profile del-device 7 02:42:ac:11:00:05"},
    {"list",
     {},
     show_profiles,
     "list the registered profiles with the policies bound to them",
     nullptr,
     "profile list --json"},
    {"mapping",
     {},
     {show_mapping, "dump_utm_profile_mapping"},
     "list the profiles with their content-filter policies, as the library hands them out"},
    {"bind-cf",
     id_and_policy,
     {bind_policy<cf_policies>, "utm_user_profile_add_cf_policy"},
     "bind a content-filter policy to a profile",
     nullptr,
     "profile bind-cf 7 70"},
    {"bind-app",
     id_and_policy,
     {bind_policy<app_policies>, "utm_user_profile_add_app_policy"},
     "bind an application policy to a profile",
     nullptr,
     "profile bind-app 7 80"},
    {"set-daily-limit-enable",
     id_and_switch,
     {change<set_daily_limit_enable>, "utm_user_profile_set_daily_limit_enable"},
     "switch a profile's daily limit"},
    {"get-daily-limit-enable",
     one_id,
     {read<daily_limit_enable>, "utm_user_profile_get_daily_limit_enable"},
     "show the switch of a profile's daily limit"},
    {"set-daily-limit",
     id_and_limit,
     {change<set_daily_limit>, "utm_user_profile_set_daily_limit"},
     "set a profile's daily limit",
     nullptr,
     "profile set-daily-limit 7 120"},
    {"get-daily-limit",
     one_id,
     {read<daily_limit>, "utm_user_profile_get_daily_limit"},
     "show a profile's daily limit"},
    {"set-weekday-limit",
     id_weekday_limit,
     {change<set_weekday_limit>, "utm_user_profile_set_weekday_daily_limit"},
     "set a profile's limit of one weekday",
     nullptr,
     "profile set-weekday-limit 7 6 180"},
    {"get-weekday-limits",
     one_id,
     {read<weekday_limits>, "utm_user_profile_get_weekday_daily_limit"},
     "list a profile's limits of weekdays"},
    {"set-extension",
     id_and_extension,
     {change<set_extension>, "utm_user_profile_set_extended"},
     "extend a profile's limit"},
    {"get-extension",
     one_id,
     {read<extension>, "utm_user_profile_get_extended"},
     "show the extension of a profile's limit"},
    {"reset-extension",
     one_id,
     {change<reset_extension>, "utm_user_profile_reset_extended"},
     "take back the extension of a profile's limit"},
    {"usage", one_id, {read<usage>, "utm_user_profile_get_usage"}, "show the three figures of a profile's usage"},
    {"app-usage",
     id_and_query,
     {read<app_usage>, "utm_user_profile_get_app_usage"},
     "list a profile's usage by application"},
    {"app-usage-days",
     id_and_query,
     {read<app_usage_days>, "utm_user_profile_get_app_usage_prev_days"},
     "list a profile's usage by application on earlier days"},
    {"domains",
     one_id,
     {read<browsed_domains>, "utm_user_profile_get_browse_domain_list"},
     "list the domains that a profile's devices have browsed",
     nullptr,
     "profile domains 7 --json"},
    {"flush",
     {},
     {flush_profiles, "utm_user_profile_flush"},
     "delete every registered profile",
     "every profile and the policies bound to them",
     "profile flush --yes"},
};

} // namespace

constinit const family profile_family = {"profile", "user profiles with their devices, policies, limits and usage",
                                         commands};
