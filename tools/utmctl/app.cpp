#include "tools/utmctl/app_entries.h"
#include "tools/utmctl/arguments.h"
#include "tools/utmctl/config_deed.h"
#include "tools/utmctl/dump.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/file_path.h"
#include "tools/utmctl/number.h"
#include "tools/utmctl/policy.h"

namespace {

constexpr const config_daemon& application = config_daemons[UTM_CONFIG_TARGET_APP];

// Without a file the daemon takes its own.
template <auto call> kqutm::result<kqutm::done> move_statistics(const request& asked)
{
    return call(asked.has("FILE") ? path_of(asked.one("FILE")) : UTM_APP_STATISTICS_FILE);
}

constexpr config_change activate = {application, "application control", "set to {SWITCH}", [](const request& asked) {
                                        return kqutm::applications::activate(switch_of(asked.one("SWITCH")));
                                    }};
constexpr config_change debug = {
    application, "application control's debug value", "set to {VALUE}",
    [](const request& asked) { return kqutm::applications::set_debug(switch_of(asked.one("VALUE"))); }};
constexpr config_change set_interval = {
    application, "the export interval", "set to {INTERVAL}", [](const request& asked) {
        return kqutm::applications::set_export_interval(whole_of<int32_t>(asked.one("INTERVAL")));
    }};
constexpr config_change update_signature = {
    application, "the signature file {FILE}", "taken over",
    [](const request& asked) { return kqutm::applications::update_signature(path_of(asked.one("FILE"))); }};
constexpr config_change import_statistics = {application, "the statistics file", "imported",
                                             move_statistics<kqutm::applications::import_statistics>};
constexpr config_change export_statistics = {application, "the statistics file", "written",
                                             move_statistics<kqutm::applications::export_statistics>};
constexpr dump_kind whole_dump = {"the dump of application control", application, kqutm::applications::dump};

kqutm::result<json> read_status(const request&)
{
    return kqutm::applications::daemon_status().transform([](const auto& values) {
        return json{{"first", values[0]}, {"second", values[1]}, {"third", values[2]}};
    });
}

kqutm::result<json> read_interval(const request&)
{
    return kqutm::applications::export_interval().transform([](uint32_t interval) {
        return json{{"interval", interval}};
    });
}

constexpr shown_member status_values[] = {{"first", {"FIRST"}}, {"second", {"SECOND"}}, {"third", {"THIRD"}}};
constexpr shown_member interval_value[] = {{"interval", {"INTERVAL"}}};
constexpr config_reading status = {application, "the status of application control", status_values, read_status};
constexpr config_reading interval = {application, "the export interval", interval_value, read_interval};

constexpr argument policy = {"POLICY", occurs::once, check_id, "the identifier of the application policy"};
constexpr argument new_id[] = {
    {"ID", occurs::at_most_once, check_id_or_zero, "the identifier to take; 0 or none: the current time in seconds"},
};
constexpr argument one_policy[] = {policy};
constexpr argument policy_and_entries[] = {policy, app_entries, texts_from_file};
constexpr argument switch_value[] = {{"SWITCH", occurs::once, check_switch, "on, off, or a whole number"}};
constexpr argument debug_value[] = {
    {"VALUE", occurs::once, check_switch, "on, off, or a whole number, whose meaning is the daemon's"},
};
constexpr argument interval_argument[] = {
    {"INTERVAL", occurs::once, check_number, "a whole number, in the daemon's unit"},
};
constexpr argument file[] = {
    {"FILE", occurs::once, check_shell_path, "the file, with nothing in its path that a shell interprets"},
};
constexpr argument statistics_file[] = {
    {"FILE", occurs::at_most_once, check_shell_path, "the file; none: " UTM_APP_STATISTICS_FILE},
};

constexpr command commands[] = {
    {"create-policy",
     new_id,
     {create_policy<app_policies>, "utm_app_policy_create"},
     "create an application policy and print its identifier",
     nullptr,
     "app create-policy 80"},
    {"set-entries",
     policy_and_entries,
     {set_entries, "utm_app_policy_config_init_block utm_app_policy_config_block"},
     "set a policy's application entries in place of those it has",
     nullptr,
     "app set-entries 80 0100000001000000 -f entries.hex"},
    {"add-entries",
     policy_and_entries,
     {add_entries, "utm_app_policy_config_block"},
     "add application entries to those that a policy has"},
    {"clear-entries",
     one_policy,
     {clear_entries, "utm_app_policy_config_init_block"},
     "take all application entries off a policy",
     "the policy's entries"},
    {"activate",
     switch_value,
     {change<activate>, "utm_app_activate"},
     "switch application control",
     nullptr,
     "app activate on"},
    {"status", {}, {read<status>, "utm_app_daemon_status"}, "show the daemon's three status values"},
    {"debug", debug_value, {change<debug>, "utm_app_debug"}, "set the daemon's debug value"},
    {"dump",
     file,
     {dump<whole_dump>, "utm_app_dump_all"},
     "write application control's configuration to a file, and print it",
     nullptr,
     "app dump /tmp/app.txt"},
    {"update-signature",
     file,
     {change<update_signature>, "utm_app_update_signature"},
     "let the daemon update its signatures from a file"},
    {"import-statistics",
     statistics_file,
     {change<import_statistics>, "utm_app_import_statistics"},
     "let the daemon read its statistics from a file"},
    {"export-statistics",
     statistics_file,
     {change<export_statistics>, "utm_app_export_statistics"},
     "let the daemon write its statistics to a file"},
    {"get-export-interval",
     {},
     {read<interval>, "utm_app_get_export_interval"},
     "show the interval of the statistics' export"},
    {"set-export-interval",
     interval_argument,
     {change<set_interval>, "utm_app_set_export_interval"},
     "set the interval of the statistics' export",
     nullptr,
     "app set-export-interval 60"},
};

} // namespace

constinit const family app_family = {"app", "application control", commands};
