#include "operations/callable.h"
#include "operations/families.h"
#include "operations/results.h"

namespace operations {

namespace {

constexpr size_t most_entry_bytes = 65536;

constexpr char policy_help[] = "the policy's identifier; the registry is not asked about it";
constexpr char entries_help[] = "8 bytes for each entry, sent unchanged";
constexpr char count_help[] = "how many entries there are; ten go into a record";
constexpr char value_help[] = "the value, which the daemon defines";
constexpr argument_help statistics_help =
    path_for_daemon("up to 127 characters; longer ones are refused; null stands for " UTM_APP_STATISTICS_FILE);
constexpr char creates[] = "for the registry lock without a limit; up to 2 s for the first record of the daemon's "
                           "answer, and for each further record without a limit; connects once";
constexpr char tells_for_each[] = "for each record up to 2.1 s while the daemon cannot be reached, and up to 10 s for "
                                  "its answer; the first that fails is the last";

constexpr function_row functions[] = {
    {bound<utm_app_policy_create>("int32_t utm_app_policy_create(uint32_t id)"),
     "creates an application policy in the registry, then in the daemon",
     {{new_id_help, UTM_ID_APP_POLICY, true}},
     {first_use, reserved, {app_daemon, UTM_APP_POLICY_CREATE}},
     creates,
     created},
    {bound<utm_app_policy_config_init_block, told_released, argument<uint32_t>,
           bytes<0, most_entry_bytes, UTM_APP_ENTRY_SIZE>, entry_count>(
         "int32_t utm_app_policy_config_init_block(uint32_t id, const void* entries, int32_t count)"),
     "empties a policy, then sets its application entries",
     {policy_help, entries_help, count_help},
     {{app_daemon, UTM_APP_POLICY_RESET_ENTRIES}, {app_daemon, UTM_APP_POLICY_ADD_ENTRIES, "for each ten entries"}},
     tells_for_each,
     accepted,
     nullptr,
     "the entries that the policy has"},
    {bound<utm_app_policy_config_block, told_released, argument<uint32_t>,
           bytes<0, most_entry_bytes, UTM_APP_ENTRY_SIZE>, entry_count>(
         "int32_t utm_app_policy_config_block(uint32_t id, const void* entries, int32_t count)"),
     "adds application entries to a policy",
     {policy_help, entries_help, count_help},
     {{app_daemon, UTM_APP_POLICY_ADD_ENTRIES, "for each ten entries"}},
     tells_for_each,
     accepted},
    {bound<utm_app_dump_all, told_released, shell_path>("int32_t utm_app_dump_all(const char* path)"),
     "writes application control's configuration to a file, anew",
     {dump_path_help},
     {first_use,
      "shell: date",
      "registry: profiles and policies, each by a shell command under the lock",
      {app_daemon, UTM_APP_DUMP}},
     dumps,
     accepted},
    {bound<utm_app_activate>("int32_t utm_app_activate(int32_t value)"),
     "switches application control",
     {value_help},
     {{app_daemon, UTM_APP_ACTIVATE}},
     tells_one,
     accepted},
    {bound<utm_app_debug>("int32_t utm_app_debug(int32_t value)"),
     "hands the daemon a debug value",
     {value_help},
     {{app_daemon, UTM_APP_DEBUG}},
     tells_one,
     accepted},
    {bound<utm_app_set_export_interval>("int32_t utm_app_set_export_interval(int32_t interval)"),
     "sets the interval of the statistics' export",
     {"the interval, in the daemon's own unit"},
     {{app_daemon, UTM_APP_SET_EXPORT_INTERVAL}},
     tells_one,
     accepted},
    {bound<utm_app_update_signature>("int32_t utm_app_update_signature(const char* path)"),
     "lets the daemon update its signatures from a file",
     {path_for_daemon("the file, which the daemon opens; cut at 128 characters, then without a terminator")},
     {{app_daemon, UTM_APP_UPDATE_SIGNATURE}},
     tells_one,
     accepted},
    {bound<utm_app_daemon_status>("int32_t utm_app_daemon_status(uint32_t* first, uint32_t* second, uint32_t* third)"),
     "reads the daemon's three status values, which it defines",
     {"where the first goes", "where the second goes", "where the third goes"},
     {{app_daemon, UTM_APP_GET_DAEMON_STATUS}},
     asks_one,
     accepted},
    {bound<utm_app_get_export_interval>("int32_t utm_app_get_export_interval(uint32_t* interval)"),
     "reads the interval of the statistics' export",
     {"where the interval goes, in the daemon's own unit"},
     {{app_daemon, UTM_APP_GET_EXPORT_INTERVAL}},
     asks_one,
     accepted},
    {bound<utm_app_import_statistics>("int32_t utm_app_import_statistics(const char* path)"),
     "lets the daemon read the statistics from a file",
     {statistics_help},
     {{app_daemon, UTM_APP_IMPORT_STATISTICS}},
     tells_one,
     accepted},
    {bound<utm_app_export_statistics>("int32_t utm_app_export_statistics(const char* path)"),
     "lets the daemon write the statistics to a file",
     {statistics_help},
     {{app_daemon, UTM_APP_EXPORT_STATISTICS}},
     tells_one,
     accepted},
};

} // namespace

std::span<const function_row> app_functions()
{
    return functions;
}

} // namespace operations
