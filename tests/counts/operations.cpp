// The table of the operations.

#include "kqutm/app.h"
#include "kqutm/cf.h"
#include "kqutm/daemon.h"
#include "kqutm/registry.h"

#include "tests/counts/operations.h"
#include "tests/counts/returned.h"

#include <algorithm>
#include <csignal>
#include <cstring>

namespace counts {

void run_filter()
{
    write_file("/tmp/web_safe_browsing_activate", "1\n");
    write_file("/tmp/web_category_activate", "1\n");
    write_file("/tmp/cf_activate", "");
    signal(SIGHUP, SIG_IGN);
    write_file("/var/run/contfltd.pid", std::to_string(getpid()) + "\n");
}

namespace {

// Name and call of an operation: the first two of its row. GIVES tells what it returns where the type does not.
#define CALL(operation, ...) #operation, CALL_OF(operation, __VA_ARGS__)
#define GIVES(kind, operation) #operation, [] { return result_of([] { return operation(); }, &kind); }

constexpr char dump_file[] = "/tmp/dump";
constexpr uint8_t mac[6] = {2, 0, 0, 0, 0, 1};
constexpr uint8_t category_block[UTM_CF_BLOCK_SIZE] = {};
constexpr char app_entries[23 * UTM_APP_ENTRY_SIZE] = {};
constexpr utm_cf_config_event debug = {.code = UTM_CF_DEBUG};

constexpr uint32_t unwritten = 12345;

// What operations leave for their caller.
uint32_t word;
utm_av_status av_status;
utm_devid_status devid_status;
char text[UTM_UUID_SIZE];
int semaphore_id;
void* segment;
utm_device* device_list;
utm_profile_mapping* mapping;
utm_app_usage_entry* usage;
utm_weekday_limit_entry* weekday_limits;
utm_app_usage_prev_days_entry* prev_days;

const calls shell = "system"_calls;
// Each switch file is a stream, for which libc takes two blocks and gives them back.
const calls read_switches = 2 * "access open stat read close"_calls + "access"_calls;
const calls tell_command = "access open stat read close open flock fcntl stat write close kill"_calls;
const calls traced_list = config_until(3 * ("read"_calls + log_line) + "read"_calls);
const calls dump_registry = 4 * shell + detach_and_unlock + shell;

const calls flush_ir = "socket connect send recv send recv close"_calls;
const calls listen_at = "unlink socket setsockopt bind listen chmod"_calls;
const calls bind_policy = 2 * locked + lock_and_attach + "semop"_calls + config();
const calls delete_profile = lock_and_attach + 3 * config() + detach_and_unlock;
const calls switch_engine = shell + read_switches;
const calls switch_filter_off = log_line + 2 * shell + tell_command + "unlink"_calls;
const calls remove_state_files = "access access unlink access unlink"_calls;
const calls reset_all = locked + delete_profile + config() + switch_engine + config() + switch_engine +
                        switch_filter_off + 2 * config() + remove_state_files;

} // namespace

// Of lists, the head counts too.
const std::vector<operation>& operations()
{
    static const std::vector<operation> all = {
        // Application control
        {CALL(utm_app_activate, 1), config()},
        {CALL(utm_app_debug, 1), config()},
        {CALL(utm_app_set_export_interval, 1), config()},
        {CALL(utm_app_update_signature, "/tmp/signature"), config()},
        {CALL(utm_app_import_statistics, nullptr), config()},
        {CALL(utm_app_export_statistics, nullptr), config()},
        {CALL(utm_app_daemon_status, &word, &word, &word), config(), {1, 1}},
        {CALL(utm_app_get_export_interval, &word), config(), {2, 2}},
        {CALL(utm_app_policy_create, 31), marker + locked + config(), {2, 2}},
        {CALL(utm_app_policy_config_block, 30, app_entries, 23), 3 * config()},
        {CALL(utm_app_policy_config_block, 30, app_entries, 0), log_line},
        {CALL(utm_app_policy_config_init_block, 30, app_entries, 23), 4 * config()},
        {CALL(utm_app_policy_config_init_block, 30, nullptr, 0), config() + log_line},
        {CALL(utm_app_dump_all, dump_file),
         marker + "unlink"_calls + shell + lock_and_attach + dump_registry + config()},

        // Anti-virus
        {CALL(utm_av_activate, 1), av()},
        {CALL(utm_av_debug, 1), av()},
        {CALL(utm_av_cache_set_max_size, 10), av()},
        {CALL(utm_av_set_whitelist, "entry", 1), av()},
        {CALL(utm_av_show_status, &av_status), av()},
        {CALL(utm_av_reset), av()},
        {CALL(utm_av_flush), av()},
        {CALL(utm_av_show_whitelist), av(4), {4, 0}, daemons::stream},
        {CALL(utm_av_show_cache), av(4), {4, 0}, daemons::stream},
        {GIVES(block, av_create_node), none, {1, 0}},
        {GIVES(descriptor, connect_avd), "socket setsockopt connect"_calls},
        {GIVES(descriptor, av_create_server_socket), listen_at},

        // Content filter
        {CALL(utm_cf_policy_create, 21), marker + locked + config()},
        {CALL(utm_cf_policy_config_block, 20, category_block), locked + config()},
        {CALL(utm_cf_add_trusted_url, "url"), config()},
        {CALL(utm_cf_del_trusted_url, "url"), config()},
        {CALL(utm_cf_add_forbidden_url, "url"), config()},
        {CALL(utm_cf_del_forbidden_url, "url"), config()},
        {CALL(utm_cf_policy_add_trusted_domain, 20, "domain"), config()},
        {CALL(utm_cf_policy_del_trusted_domain, 20, "domain"), config()},
        {CALL(utm_cf_policy_add_forbidden_domain, 20, "domain"), config()},
        {CALL(utm_cf_policy_del_forbidden_domain, 20, "domain"), config()},
        {CALL(utm_cf_policy_add_domain_keyword, 20, "word"), config()},
        {CALL(utm_cf_policy_del_domain_keyword, 20, "word"), config()},
        {CALL(utm_cf_debug, 1), config()},
        {CALL(utm_cf_global_flush, 0), config()},
        {CALL(utm_cf_policy_flush, 0, 20), locked + config()},
        {CALL(utm_cf_redirect_page, "page"), "open write close"_calls},
        {CALL(utm_cf_activate), read_switches, {4, 4}, {}, run_filter},
        {CALL(utm_cf_web_safe_browsing_activate, 1), switch_engine + config(), {4, 4}, {}, run_filter},
        {CALL(utm_cf_web_category_activate, 1), switch_engine + config(), {4, 4}, {}, run_filter},
        {CALL(__utm_cf_activate, 1), 2 * shell + tell_command, {4, 4}, {}, run_filter},
        {CALL(dump_cf_activate, dump_file), 4 * shell},
        {CALL(utm_cf_dump_all, dump_file),
         marker + "unlink"_calls + 5 * shell + lock_and_attach + dump_registry + config()},

        // Common data and utilities
        {CALL(utm_log, UTM_IPS_LOG, "%s\n", "text"), log_line},
        {CALL(utm_uuid_set, "uuid"), locked},
        {CALL(utm_uuid_get, text, sizeof text), locked},
        {CALL(init_utm_common_sem), open_semaphore},
        {CALL(attach_utm_common_data_shm), attach},
        {CALL(detach_utm_common_data_shm, segment),
         "shmdt"_calls,
         {},
         {},
         [] { segment = attach_utm_common_data_shm(); }},
        {CALL(utm_commoc_lock, semaphore_id), "semop"_calls, {}, {}, [] { semaphore_id = init_utm_common_sem(); }},
        {CALL(utm_commoc_unlock, semaphore_id), "semop"_calls, {}, {}, [] { semaphore_id = init_utm_common_sem(); }},
        {CALL(utm_notify_debug, 0), "unlink"_calls},
        {CALL(utm_notify_debug, 1), shell},
        {CALL(utm_getSystemCommandResult, "echo text", text, sizeof text, 1),
         "popen stat read read pclose"_calls,
         {1, 0}},

        // Config channel
        {CALL(send_utm_config_event, &debug, 0), config()},
        {CALL(send_utm_event_and_get_response, &debug, 0), config(), {1, 0}},

        // Device identification
        {CALL(utm_devid_activate, 1), devid()},
        {CALL(utm_devid_debug, 1), devid()},
        {CALL(utm_devid_get_status, &devid_status), devid()},
        {CALL(utm_devid_cache_set_max_size, 1), devid()},
        {CALL(utm_devid_flush_cache_list), devid()},
        {CALL(utm_devid_get_latest_timestamp), devid()},
        {CALL(utm_devid_show_all_list), devid()},
        {CALL(utm_devid_reset), devid()},
        {CALL(utm_devid_set_ignore_iface, "eth0", 1), devid()},
        {CALL(utm_devid_get_device_list), devid(4), {4, 0}, daemons::stream},
        {CALL(utm_devid_get_device_list_by_ip, "192.168.1.5"), devid(4), {4, 0}, daemons::stream},
        {CALL(utm_devid_get_device_list_by_interface, "eth0"), devid(4), {4, 0}, daemons::stream},
        {CALL(utm_devid_get_device_list_by_mac, "02:00:00:00:00:01"), devid(4), {4, 0}, daemons::stream},
        {CALL(utm_devid_free_device_list, device_list),
         none,
         {0, 4},
         daemons::stream,
         [] { device_list = utm_devid_get_device_list(); }},
        {GIVES(block, create_dev), none, {1, 0}},
        {GIVES(descriptor, connect_deviceid), "socket setsockopt setsockopt connect"_calls},
        {GIVES(descriptor, create_server_socket), listen_at},

        // Intrusion prevention
        {CALL(utm_ips_activate, 1), ips()},
        {CALL(utm_ips_debug, 1), ips()},
        {CALL(utm_ips_set_whitelist, "rule", 1), ips()},
        {CALL(utm_ips_set_blacklist, "rule", 1), ips()},
        {CALL(utm_ips_update_signature, "/tmp/signature"), ips()},
        {CALL(utm_ips_reset), ips()},
        {CALL(utm_ips_flush, 2), ips()},
        {CALL(utm_ips_show_status), ips(), {1, 0}},
        {CALL(utm_ips_show_customizelist), ips_until(4 * "recv"_calls + log_line), {4, 0}, daemons::stream},
        {GIVES(block, ips_create_node), none, {1, 0}},
        {GIVES(descriptor, connect_ips), "socket setsockopt connect"_calls},
        {GIVES(descriptor, ips_create_server_socket), listen_at},

        // IR database
        {CALL(utm_ir_activate, 1), ir()},
        {CALL(utm_ir_debug, 1), ir()},
        {CALL(utm_ir_db_set_max_size_mb, 64), ir()},
        {CALL(utm_ir_db_set_update_check_freq, 1), ir()},
        {CALL(utm_ir_db_set_threat_category, 1), ir()},
        {CALL(utm_ir_db_set_whitelist, 1, 2, 0), ir()},
        {CALL(utm_ir_db_set_blacklist, 1, 2, 0), ir()},
        {CALL(utm_ir_load_db, "/tmp/database"), ir()},
        {CALL(utm_ir_flush, 0), flush_ir},
        {CALL(utm_ir_flush, 1), ir()},
        {CALL(utm_ir_reset), flush_ir + ir()},
        {CALL(utm_ir_show_db_status), ir(), {1, 0}},
        {CALL(utm_ir_db_get_whitelist), ir(4), {4, 0}, daemons::stream},
        {CALL(utm_ir_db_get_blacklist), ir(4), {4, 0}, daemons::stream},

        // ID registry
        {CALL(init_utm_id_config_sem), open_semaphore},
        {CALL(utm_id_config_lock, semaphore_id),
         "semop"_calls,
         {},
         {},
         [] { semaphore_id = init_utm_id_config_sem(); }},
        {CALL(utm_id_config_unlock, semaphore_id),
         "semop"_calls,
         {},
         {},
         [] { semaphore_id = init_utm_id_config_sem(); }},
        {CALL(attach_utm_id_data_shm), attach},
        {CALL(detach_utm_id_data_shm, segment), "shmdt"_calls, {}, {}, [] { segment = attach_utm_id_data_shm(); }},
        {CALL(init_utm_id_shm), marker},
        {CALL(get_unique_id, 8, UTM_ID_USER_PROFILE), locked},
        {CALL(get_unique_id, 0, UTM_ID_USER_PROFILE), locked},
        {CALL(check_shm_utm_id, 7, UTM_ID_USER_PROFILE), locked},
        {CALL(reset_utm_id_shm, 7, UTM_ID_USER_PROFILE), locked},

        // User profiles
        {CALL(utm_user_profile_create, 8), marker + locked + 3 * config()},
        {CALL(utm_user_profile_delete, 7), delete_profile},
        {CALL(utm_user_profile_add_dev, 7, mac), locked + 3 * config()},
        {CALL(utm_user_profile_del_dev, 7, mac), locked + 3 * config()},
        {CALL(utm_user_profile_flush), locked + delete_profile},
        {CALL(utm_user_profile_add_cf_policy, 7, 20), bind_policy},
        {CALL(utm_user_profile_add_app_policy, 7, 30), bind_policy},
        {CALL(utm_user_profile_cf_app_policy_reset), reset_all, {12, 12}, {}, run_filter},
        {CALL(dump_utm_profile_mapping), marker + locked, {2, 0}},
        {GIVES(block, create_profile_mapping_node), none, {1, 0}},
        {CALL(utm_free_profile_mapping_list, mapping), none, {0, 2}, {}, [] { mapping = dump_utm_profile_mapping(); }},

        // Usage and limits
        {CALL(utm_user_profile_set_daily_limit_enable, 7, 1), config()},
        {CALL(utm_user_profile_set_daily_limit, 7, 1), config()},
        {CALL(utm_user_profile_set_weekday_daily_limit, 7, 1, 1), config()},
        {CALL(utm_user_profile_set_extended, 7, 1), config()},
        {CALL(utm_user_profile_get_daily_limit_enable, 7, &word), config(), {2, 1}},
        {CALL(utm_user_profile_get_daily_limit, 7, &word), config(), {2, 1}},
        {CALL(utm_user_profile_get_extended, 7, &word), config(), {2, 1}},
        {CALL(utm_user_profile_reset_extended, 7), config(), {2, 1}},
        {CALL(utm_user_profile_get_usage, 7, &word, &word, &word), config(), {2, 1}},
        {CALL(utm_user_profile_get_app_usage, 7, 1), config(4), {5, 1}, daemons::stream},
        {CALL(utm_user_profile_get_weekday_daily_limit, 7), config(4), {5, 1}, daemons::stream},
        {CALL(utm_user_profile_get_app_usage_prev_days, 7, 1), traced_list, {5, 1}, daemons::stream},
        {CALL(utm_user_profile_get_browse_domain_list, 7), traced_list, {5, 1}, daemons::stream},
        {CALL(utm_user_profile_free_app_usage_list, usage),
         none,
         {0, 4},
         daemons::stream,
         [] { usage = utm_user_profile_get_app_usage(7, 1); }},
        {CALL(utm_user_profile_free_weekday_limit_list, weekday_limits),
         none,
         {0, 4},
         daemons::stream,
         [] { weekday_limits = utm_user_profile_get_weekday_daily_limit(7); }},
        {CALL(utm_user_profile_free_app_usage_prev_days_list, prev_days),
         none,
         {0, 4},
         daemons::stream,
         [] { prev_days = utm_user_profile_get_app_usage_prev_days(7, 1); }},
    };
    return all;
}

std::string left()
{
    std::string found;
    const auto show = [&found](uint32_t value) { found += (value == unwritten ? "-" : std::to_string(value)) + ' '; };
    show(word);
    for (uint32_t status : av_status.words)
        show(status);
    for (uint32_t status : devid_status.words)
        show(status);
    return found + (*text == '?' ? "-" : '"' + std::string(text) + '"');
}

void spoil_left()
{
    word = unwritten;
    std::fill(std::begin(av_status.words), std::end(av_status.words), unwritten);
    std::fill(std::begin(devid_status.words), std::end(devid_status.words), unwritten);
    memset(text, '?', sizeof text);
}

std::string name_of(const testing::TestParamInfo<operation>& operation)
{
    return operation.param.name + ("_" + std::to_string(operation.index));
}

} // namespace counts
