#include "tests/failing_calls/rules.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <sstream>

namespace failing_calls {

namespace {

enum class only {
    always,
    where_it_logs,
    where_the_daemon_refuses
};

// One call of one operation: "semop 2" of "utm_uuid_set".
struct spared {
    const char* operations;
    const char* calls; // by function, the numbers of those that may fail
    only when = only::always;
};

using spared_calls = std::vector<spared>;

// On a gateway in use, where one call fails.
const spared_calls usually_spared = {
    // The lock cannot be had, or not be given back: a check, a release and a binding let the caller go on.
    {"check_shm_utm_id utm_cf_policy_config_block utm_cf_policy_flush", "ftok 1 semget 1 semop 1 2"},
    {"reset_utm_id_shm", "ftok 1 2 semget 1 semop 1 2"},
    {"utm_user_profile_add_cf_policy utm_user_profile_add_app_policy", "ftok 1 3 5 6 semget 1 2 3 semop 1 2 3 4 5 6"},
    {"get_unique_id utm_app_policy_create utm_cf_policy_create utm_uuid_set", "ftok 2 semop 2"},
    {"dump_utm_profile_mapping", "semop 2"},
    // A segment without the key file is another one, and empty.
    {"attach_utm_common_data_shm attach_utm_id_data_shm", "ftok 1"},
    // A dump that cannot reach the registry ends there.
    {"utm_app_dump_all utm_cf_dump_all", "ftok 1 2 semget 1 semop 1 2 shmat 1 shmget 1"},
    // The last of the three daemons decides, for a new profile the application daemon.
    {"utm_user_profile_add_dev utm_user_profile_del_dev",
     "ftok 1 read 1 2 select 1 2 semget 1 semop 1 2 socket 1 2 write 1 2"},
    {"utm_user_profile_create", "ftok 2 read 1 2 select 1 2 semop 2 socket 1 2 write 1 2"},
    {"utm_user_profile_delete", "read 1 2 select 1 2 semop 2 socket 1 2 write 1 2"},
    // What becomes of each profile is not looked at.
    {"utm_user_profile_flush", "ftok 1 2 3 4 read 1 2 3 select 1 2 3 semget 1 2 semop 1 2 3 4 shmat 2 shmget 2 "
                               "socket 1 2 3 write 1 2 3"},
    {"utm_user_profile_flush", "open 1 2 3 4 5 6 write 4 5 6 7 8 9", only::where_it_logs},
    {"utm_user_profile_cf_app_policy_reset",
     "fopen 5 ftok 1 2 3 4 open 1 2 read 1 2 3 select 1 2 3 semget 1 2 semop 1 2 3 4 shmat 2 shmget 2 socket 1 2 3 "
     "write 1 2 3 6"},
    // Lines of the log.
    {"utm_log utm_app_policy_config_block utm_ips_show_customizelist utm_ips_show_status "
     "utm_devid_get_device_list_by_ip",
     "open 1 write 1", only::where_it_logs},
    {"utm_app_policy_config_init_block", "open 1 write 2", only::where_it_logs},
    {"utm_user_profile_get_app_usage_prev_days utm_user_profile_get_browse_domain_list", "open 1 2 3 write 2 3 4"},
    // The command to the filter's daemon, and what the kernel takes of the redirect page.
    {"__utm_cf_activate", "fopen 1 open 1"},
    {"utm_cf_redirect_page", "write 1"},
    // A status block and a list are returned as far as they came.
    {"utm_ips_show_status", "recv 1"},
    {"utm_ips_show_customizelist utm_av_show_cache utm_av_show_whitelist utm_ir_db_get_blacklist "
     "utm_ir_db_get_whitelist utm_devid_get_device_list utm_devid_get_device_list_by_interface "
     "utm_devid_get_device_list_by_ip utm_devid_get_device_list_by_mac",
     "recv 4"},
    {"utm_ips_show_customizelist utm_av_show_cache utm_av_show_whitelist utm_ir_db_get_blacklist "
     "utm_ir_db_get_whitelist",
     "recv 1", only::where_the_daemon_refuses},
};

// The same, where all its like that follow fail too. What fails at every attempt to connect does so for two daemons.
const spared_calls usually_spared_at_length = {
    {"check_shm_utm_id reset_utm_id_shm utm_cf_policy_config_block utm_cf_policy_flush utm_user_profile_add_dev "
     "utm_user_profile_del_dev",
     "semget 1"},
    {"utm_user_profile_add_cf_policy utm_user_profile_add_app_policy", "ftok 1 3 semget 1 2 3 semop 1 2 3 4"},
    {"utm_app_dump_all utm_cf_dump_all", "semget 1 shmget 1"},
    {"utm_user_profile_create utm_user_profile_delete utm_user_profile_add_dev utm_user_profile_del_dev",
     "connect 1 2"},
    {"utm_user_profile_flush", "connect 1 2 3 read 1 2 select 1 2 semget 1 2 shmget 2 socket 1 2 write 1 2 3"},
    {"utm_user_profile_flush", "open 1 2 3 4 5 write 4 5 6 7 8", only::where_it_logs},
    {"utm_user_profile_cf_app_policy_reset", "connect 1 2 3 open 1 semget 1 2 shmget 2"},
    {"utm_user_profile_get_app_usage_prev_days utm_user_profile_get_browse_domain_list", "open 1 2 write 2 3"},
};

// On a gateway that has just been started, where the first call that finds nothing creates it, and one that cannot
// clear the registry goes on.
const spared_calls spared_at_first = {
    {"attach_utm_common_data_shm attach_utm_id_data_shm", "ftok 1 shmget 1"},
    {"init_utm_common_sem init_utm_id_config_sem", "semget 1"},
    {"get_unique_id utm_uuid_set", "ftok 2 semget 1 semop 2 shmget 1"},
    {"init_utm_id_shm reset_utm_id_shm utm_user_profile_flush", "ftok 1 2 semctl 1 semget 1 2 semop 1 2 shmget 1"},
    {"utm_app_dump_all utm_cf_dump_all", "ftok 1 2 3 4 semctl 1 semget 1 2 3 semop 1 2 3 4 shmat 2 shmget 1 3"},
    {"utm_app_policy_create utm_cf_policy_create utm_user_profile_create",
     "ftok 1 2 4 semctl 1 semget 1 2 semop 1 2 4 shmget 1"},
    {"utm_user_profile_create", "read 1 2 select 1 2 socket 1 2 write 1 2"},
    {"utm_user_profile_cf_app_policy_reset",
     "fopen 5 ftok 1 2 open 1 2 semctl 1 semget 1 2 semop 1 2 shmget 1 write 3"},
    {"utm_log utm_app_policy_config_block utm_ips_show_customizelist utm_devid_get_device_list_by_ip", "open 1 write 1",
     only::where_it_logs},
    {"utm_app_policy_config_init_block", "open 1 write 2", only::where_it_logs},
    {"utm_user_profile_get_app_usage_prev_days utm_user_profile_get_browse_domain_list", "open 1 2 3 write 2 3 4"},
    {"utm_ips_show_customizelist", "recv 4"},
};

const spared_calls spared_at_first_at_length = {
    {"init_utm_id_shm reset_utm_id_shm utm_user_profile_flush", "semget 1"},
    {"utm_app_dump_all utm_cf_dump_all", "ftok 1 2 semctl 1 semget 1 2 3 semop 1 2 shmget 3"},
    {"utm_user_profile_create", "connect 1 2"},
    {"utm_user_profile_cf_app_policy_reset", "open 1 semget 1"},
    {"utm_user_profile_get_app_usage_prev_days utm_user_profile_get_browse_domain_list", "open 1 2 write 2 3"},
};

const spared_calls& spared_in(history before, bool lasting)
{
    if (before == history::none)
        return lasting ? spared_at_first_at_length : spared_at_first;
    return lasting ? usually_spared_at_length : usually_spared;
}

// A switch of the IR engine tells how far it came; a reset is one after a flush of two exchanges.
const struct {
    const char* operation;
    int first_connection;
    int first_exchange;
} telling[] = {
    {"utm_ir_activate", 1, 1},
    {"utm_ir_debug", 1, 1},
    {"utm_ir_reset", 2, 3},
};

bool has_word(const char* words, const std::string& wanted)
{
    std::istringstream all(words);
    return std::find(std::istream_iterator<std::string>(all), {}, wanted) != std::istream_iterator<std::string>();
}

bool has_call(const char* calls, const fault& fault)
{
    std::istringstream all(calls);
    std::string function;
    for (std::string word; all >> word;) {
        if (isalpha(word.front()) != 0)
            function = word;
        else if (function == fault.function && atoi(word.c_str()) == fault.nth)
            return true;
    }
    return false;
}

bool holds(only when, const scene& scene)
{
    switch (when) {
    case only::always:
        return true;
    case only::where_it_logs:
        return scene.undisturbed.calls.count("stat") != 0;
    case only::where_the_daemon_refuses:
        return scene.tested.answer == counts::daemons::refuse;
    }
    abort();
}

} // namespace

bool is_number(const std::string& result)
{
    return result.find_first_not_of("-0123456789") == std::string::npos;
}

const std::vector<failing_call>& all_failing_calls()
{
    static const std::vector<failing_call> all = {
        {"access", EIO, true}, // a file that cannot be looked at is one that is not there
        {"bind", EADDRINUSE, false},
        {"calloc", ENOMEM, false},
        {"chmod", EIO, true}, // of the daemon's own socket
        {"connect", ECONNREFUSED, false},
        {"fdopen", ENOMEM, true}, // of the command file, and so on
        {"flock", ENOLCK, true},
        {"fopen", EMFILE, false},
        {"ftok", EIO, false},
        {"getifaddrs", ENOMEM, false},
        {"inet_ntop", ENOSPC, false},
        {"kill", ESRCH, true},
        {"listen", EADDRINUSE, true}, // is not looked at
        {"malloc", ENOMEM, false},
        {"open", EMFILE, false},
        {"popen", EMFILE, true}, // the helper reports nothing
        {"pthread_sigmask", EINVAL, true},
        {"read", EIO, false},
        {"recv", EIO, false},
        {"select", ENOMEM, false},
        {"semctl", EINVAL, false}, // as for a set that somebody has removed
        {"semget", EIO, false},
        {"semop", EINVAL, false}, // the same
        {"semop", EINTR, true},   // the wait is taken up again
        {"send", EPIPE, false},
        {"setsockopt", EIO, false},
        {"shmat", ENOMEM, false},
        {"shmdt", EINVAL, true},
        {"shmget", EIO, false},
        {"sigtimedwait", EINTR, true}, // of SIGPIPE, and so on
        {"socket", EMFILE, false},
        {"stat", EIO, true}, // of a log
        {"system", ENOMEM, true},
        {"unlink", EIO, true},
        {"write", EPIPE, false},
    };
    return all;
}

bool is_spared(const scene& scene, const fault& fault)
{
    const spared_calls& all = spared_in(scene.before, fault.lasting);
    return std::any_of(all.begin(), all.end(), [&](const spared& spared) {
        return has_word(spared.operations, scene.tested.name) && has_call(spared.calls, fault) &&
               holds(spared.when, scene);
    });
}

bool succeeds_without_lock(const std::string& operation)
{
    return has_word("check_shm_utm_id utm_cf_policy_config_block utm_cf_policy_flush utm_user_profile_add_dev "
                    "utm_user_profile_del_dev utm_user_profile_add_cf_policy utm_user_profile_add_app_policy "
                    "utm_cf_dump_all utm_app_dump_all dump_utm_profile_mapping",
                    operation);
}

bool is_one_semop(const std::string& operation)
{
    return has_word("utm_commoc_lock utm_id_config_lock", operation);
}

std::string failure_value(const scene& scene, const fault& fault)
{
    const std::string name = scene.tested.name;
    const std::string& usual = scene.undisturbed.result;
    if (!is_number(usual) && usual != "a descriptor")
        return "null";
    if (name == "utm_devid_get_latest_timestamp")
        return "0";
    for (const auto& [operation, first_connection, first_exchange] : telling) {
        if (name == operation && has_word("socket connect", fault.function) && fault.nth >= first_connection)
            return "-3";
        if (name == operation && has_word("send recv", fault.function) && fault.nth >= first_exchange)
            return "-4";
    }
    return "-1";
}

bool abandons_blocks(const std::string& operation)
{
    return has_word("send_utm_event_and_get_response utm_app_daemon_status utm_app_get_export_interval "
                    "utm_app_policy_create utm_user_profile_get_daily_limit_enable utm_user_profile_get_daily_limit "
                    "utm_user_profile_get_extended utm_user_profile_reset_extended utm_user_profile_get_usage "
                    "utm_user_profile_get_app_usage utm_user_profile_get_weekday_daily_limit "
                    "utm_user_profile_get_app_usage_prev_days utm_user_profile_get_browse_domain_list",
                    operation);
}

bool keeps_what_it_got(const std::string& operation)
{
    return has_word("utm_commoc_lock utm_id_config_lock utm_user_profile_add_cf_policy utm_user_profile_add_app_policy",
                    operation);
}

} // namespace failing_calls
