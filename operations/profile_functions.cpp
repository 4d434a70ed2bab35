#include "operations/callable.h"
#include "operations/families.h"
#include "operations/results.h"

namespace operations {

namespace {

constexpr char unchecked_profile_help[] = "the user profile's identifier; the registry is not asked about it";
constexpr char mac_help[] = "6 bytes of a MAC address, sent unchanged";
constexpr char list_help[] = "the list; null is accepted";
constexpr step bound_in_registry = change_of_registry("registry: the policy bound to the profile, under its lock");
constexpr step freed_in_registry =
    change_of_registry("registry: profile and bound policies freed, as content-filter and application daemon accepted");

constexpr meaning created_values[] = {
    {"an identifier", "the application daemon accepted; another may have refused"},
    {"-1", "the application daemon refused or did not answer, or the registry refused"}};
constexpr result_kind profile_created = {fails::minus_one, created_values, creation_causes};

constexpr meaning last_values[] = {
    {"0", "the user-profile daemon accepted, whatever the other two answered"},
    {"-1", "it did not, or nothing was sent; errno tells the cause"},
};
constexpr result_kind accepted_by_last = {fails::minus_one, last_values, registered_exchange_causes};

constexpr meaning flushed_values[] = {
    {"0", "also when the registry cannot be locked and nothing was deleted, and whatever the daemons answered"},
    {"-1", "the locked registry cannot be attached"},
};
constexpr result_kind flushed = {fails::minus_one, flushed_values, key_causes, fails_on::shared_memory};

constexpr meaning bound_values[] = {
    {"0", "the daemon accepted; or the registry could not be locked or unlocked, and nothing was sent"},
    {"-1", "failed; where the daemon refused, the binding stays in the registry"},
};
constexpr result_kind bound_to = {fails::minus_one, bound_values, registered_exchange_causes};

constexpr meaning mapping_values[] = {{"a list", "an entry for each profile, in the order of the registry's slots"},
                                      {"null", "there is no profile (errno 0), or the registry is out of reach"}};
constexpr result_kind mapping_or_null = {fails::null, mapping_values, key_causes, fails_on::shared_memory};

constexpr meaning steps_values[] = {{"0", "all steps done"},
                                    {"-1", "a step failed; those before it stay done, the rest is left out"}};
constexpr result_kind done_in_steps = {fails::minus_one, steps_values, exchange_causes};

constexpr meaning whole_values[] = {{"a list", "whole, and empty where there is nothing"}, {"null", "failed"}};
constexpr result_kind whole_list = {fails::null, whole_values, exchange_causes};

constexpr function_row functions[] = {
    {bound<utm_user_profile_create>("int32_t utm_user_profile_create(int32_t id)"),
     "creates a user profile in the registry, then in three daemons; all three are told",
     {{new_id_help, UTM_ID_USER_PROFILE, true}},
     {first_use,
      reserved,
      {cf_daemon, UTM_PROFILE_CREATE},
      {user_profile_daemon, UTM_PROFILE_CREATE},
      {app_daemon, UTM_PROFILE_CREATE},
      change_of_registry("registry: the identifier released, after each refusal")},
     tells_three,
     profile_created},
    {bound<utm_user_profile_delete>("int32_t utm_user_profile_delete(int32_t id)"),
     "deletes a user profile in three daemons, and the policies bound to it; all three are told",
     {registered_profile},
     {"registry: locked until the last daemon has answered",
      {cf_daemon, UTM_PROFILE_DELETE},
      {app_daemon, UTM_PROFILE_DELETE},
      {user_profile_daemon, UTM_PROFILE_DELETE},
      freed_in_registry},
     tells_three,
     accepted_by_last,
     nullptr,
     "the profile, and the policies bound to it"},
    {bound<utm_user_profile_add_dev>("int32_t utm_user_profile_add_dev(int32_t id, const uint8_t* mac)"),
     "adds a device to a user profile in three daemons; all three are told",
     {registered_profile, mac_help},
     {"registry: asked for the profile",
      {cf_daemon, UTM_PROFILE_ADD_DEVICE},
      {app_daemon, UTM_PROFILE_ADD_DEVICE},
      {user_profile_daemon, UTM_PROFILE_ADD_DEVICE}},
     tells_three,
     accepted_by_last},
    {bound<utm_user_profile_del_dev>("int32_t utm_user_profile_del_dev(int32_t id, const uint8_t* mac)"),
     "takes a device off a user profile in three daemons; all three are told",
     {registered_profile, mac_help},
     {"registry: asked for the profile",
      {cf_daemon, UTM_PROFILE_DELETE_DEVICE},
      {app_daemon, UTM_PROFILE_DELETE_DEVICE},
      {user_profile_daemon, UTM_PROFILE_DELETE_DEVICE}},
     tells_three,
     accepted_by_last},
    {bound<utm_user_profile_flush>("int32_t utm_user_profile_flush(void)"),
     "deletes every user profile that the registry holds, each as utm_user_profile_delete does",
     {},
     {"registry: read, under its lock",
      {cf_daemon, UTM_PROFILE_DELETE, "for each profile"},
      {app_daemon, UTM_PROFILE_DELETE, "for each profile"},
      {user_profile_daemon, UTM_PROFILE_DELETE, "for each profile"},
      freed_in_registry},
     "for each profile as utm_user_profile_delete",
     flushed,
     nullptr,
     "every registered profile, and the policies bound to them"},
    {bound<utm_user_profile_add_cf_policy>("int32_t utm_user_profile_add_cf_policy(int32_t profile, int32_t policy)"),
     "binds a content-filter policy to a user profile, in the registry and then in the daemon",
     {registered_profile, {registered_policy_help, UTM_ID_CF_POLICY}},
     {bound_in_registry, {cf_daemon, UTM_CF_BIND_POLICY}},
     tells_one_after_registry,
     bound_to},
    {bound<utm_user_profile_add_app_policy>(
         "int32_t utm_user_profile_add_app_policy(uint32_t profile, uint32_t policy)"),
     "binds an application policy to a user profile, in the registry and then in the daemon",
     {registered_profile, {registered_policy_help, UTM_ID_APP_POLICY}},
     {bound_in_registry, {app_daemon, UTM_APP_BIND_POLICY}},
     tells_one_after_registry,
     bound_to},
    {bound<dump_utm_profile_mapping>("struct utm_profile_mapping* dump_utm_profile_mapping(void)"),
     "lists which content-filter policy is bound to which user profile, as the registry has it",
     {},
     {first_use, "registry: read, under its lock"},
     waits_for_lock,
     mapping_or_null,
     list_is_released},
    {bound<create_profile_mapping_node, told_as_node>("struct utm_profile_mapping* create_profile_mapping_node(void)"),
     "makes an entry of the profile mapping",
     {},
     {},
     waits_not,
     node_or_null,
     node_is_released},
    {bound<utm_free_profile_mapping_list>("void utm_free_profile_mapping_list(struct utm_profile_mapping* head)"),
     "releases every entry of a profile mapping and its head",
     {list_help},
     {},
     waits_not,
     nothing_told},
    {bound<utm_user_profile_cf_app_policy_reset>("int32_t utm_user_profile_cf_app_policy_reset(void)"),
     "resets user profiles, content filter and application control",
     {},
     {change_of_registry("utm_user_profile_flush: every profile deleted"), "utm_cf_global_flush: with type 0",
      "utm_cf_web_safe_browsing_activate: off", "utm_cf_web_category_activate: off", "utm_app_activate: off",
      "file: the filter's three state files removed"},
     "for as long as its operations together: three exchanges for each profile, and four; and up to 20 s for commands "
     "that the content-filter daemon does not take",
     done_in_steps,
     nullptr,
     "all profiles with their policies, and the content filter's lists"},
    {bound<utm_user_profile_free_app_usage_list>(
         "void utm_user_profile_free_app_usage_list(struct utm_app_usage_entry* head)"),
     "releases every entry of a list and its head",
     {list_help},
     {},
     waits_not,
     nothing_told},
    {bound<utm_user_profile_free_weekday_limit_list>(
         "void utm_user_profile_free_weekday_limit_list(struct utm_weekday_limit_entry* head)"),
     "releases every entry of a list and its head",
     {list_help},
     {},
     waits_not,
     nothing_told},
    {bound<utm_user_profile_free_app_usage_prev_days_list>(
         "void utm_user_profile_free_app_usage_prev_days_list(struct utm_app_usage_prev_days_entry* head)"),
     "releases every entry of a list and its head",
     {list_help},
     {},
     waits_not,
     nothing_told},
    {bound<utm_user_profile_set_daily_limit_enable>(
         "int32_t utm_user_profile_set_daily_limit_enable(uint32_t profile, int32_t enable)"),
     "switches a profile's daily limit",
     {unchecked_profile_help, "the switch, which the daemon defines"},
     {{app_daemon, UTM_APP_SET_DAILY_LIMIT_ENABLE}},
     tells_one,
     accepted},
    {bound<utm_user_profile_get_daily_limit_enable>(
         "int32_t utm_user_profile_get_daily_limit_enable(uint32_t profile, uint32_t* enable)"),
     "reads the switch of a profile's daily limit",
     {unchecked_profile_help, "where the switch goes"},
     {{app_daemon, UTM_APP_GET_DAILY_LIMIT_ENABLE}},
     asks_one,
     accepted},
    {bound<utm_user_profile_set_daily_limit>(
         "int32_t utm_user_profile_set_daily_limit(uint32_t profile, int32_t limit)"),
     "sets a profile's daily limit",
     {unchecked_profile_help, "the limit, in the daemon's own unit"},
     {{app_daemon, UTM_APP_SET_DAILY_LIMIT}},
     tells_one,
     accepted},
    {bound<utm_user_profile_get_daily_limit>(
         "int32_t utm_user_profile_get_daily_limit(uint32_t profile, uint32_t* limit)"),
     "reads a profile's daily limit",
     {unchecked_profile_help, "where the limit goes, in the daemon's own unit"},
     {{app_daemon, UTM_APP_GET_DAILY_LIMIT}},
     asks_one,
     accepted},
    {bound<utm_user_profile_set_weekday_daily_limit>(
         "int32_t utm_user_profile_set_weekday_daily_limit(uint32_t profile, int32_t weekday, int32_t limit)"),
     "sets a profile's limit of one weekday",
     {unchecked_profile_help, "the weekday, as the daemon numbers it", "the limit, in the daemon's own unit"},
     {{app_daemon, UTM_APP_SET_WEEKDAY_LIMIT}},
     tells_one,
     accepted},
    {bound<utm_user_profile_set_extended>("int32_t utm_user_profile_set_extended(uint32_t profile, int32_t extension)"),
     "extends a profile's limit",
     {unchecked_profile_help, "the extension, in the daemon's own unit"},
     {{app_daemon, UTM_APP_SET_EXTENSION}},
     tells_one,
     accepted},
    {bound<utm_user_profile_get_extended>(
         "int32_t utm_user_profile_get_extended(uint32_t profile, uint32_t* extension)"),
     "reads the extension of a profile's limit",
     {unchecked_profile_help, "where the extension goes, in the daemon's own unit"},
     {{app_daemon, UTM_APP_GET_EXTENSION}},
     asks_one,
     accepted},
    {bound<utm_user_profile_get_usage>(
         "int32_t utm_user_profile_get_usage(uint32_t profile, uint32_t* first, uint32_t* second, uint32_t* third)"),
     "reads the three figures of a profile's usage, which the daemon defines",
     {unchecked_profile_help, "where the first goes", "where the second goes", "where the third goes"},
     {{app_daemon, UTM_APP_GET_USAGE}},
     asks_one,
     accepted},
    {bound<utm_user_profile_reset_extended>("int32_t utm_user_profile_reset_extended(uint32_t profile)"),
     "takes back the extension of a profile's limit",
     {unchecked_profile_help},
     {{app_daemon, UTM_APP_RESET_EXTENSION}},
     asks_one,
     accepted},
    {bound<utm_user_profile_get_weekday_daily_limit>(
         "struct utm_weekday_limit_entry* utm_user_profile_get_weekday_daily_limit(uint32_t profile)"),
     "gets a profile's limits of weekdays",
     {unchecked_profile_help},
     {{app_daemon, UTM_APP_GET_WEEKDAY_LIMITS}},
     asks_one,
     whole_list,
     list_is_released},
    {bound<utm_user_profile_get_app_usage>(
         "struct utm_app_usage_entry* utm_user_profile_get_app_usage(uint32_t profile, uint32_t argument)"),
     "gets a profile's usage by application",
     {unchecked_profile_help, "the query, which the daemon defines"},
     {{app_daemon, UTM_APP_GET_USAGE_BY_APP}},
     asks_one,
     whole_list,
     list_is_released},
    {bound<utm_user_profile_get_app_usage_prev_days>(
         "struct utm_app_usage_prev_days_entry* utm_user_profile_get_app_usage_prev_days(uint32_t profile, uint32_t "
         "argument)"),
     "gets a profile's usage by application on earlier days",
     {unchecked_profile_help, "the query, which the daemon defines"},
     {{app_daemon, UTM_APP_GET_USAGE_PREV_DAYS}},
     asks_one,
     whole_list,
     list_is_released},
    {bound<utm_user_profile_get_browse_domain_list>(
         "struct utm_domain_browse_entry* utm_user_profile_get_browse_domain_list(int32_t profile)"),
     "gets the domains that a profile's devices have browsed",
     {unchecked_profile_help},
     {{cf_daemon, UTM_CF_GET_BROWSED_DOMAINS}},
     asks_one,
     whole_list,
     list_is_released},
};

} // namespace

std::span<const function_row> profile_functions()
{
    return functions;
}

} // namespace operations
