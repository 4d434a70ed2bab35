#include "tests/failing_calls/rules.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <sstream>

namespace failing_calls {

namespace {

// One call of one operation: "semop 2" of "utm_uuid_set".
struct spared {
    const char* operations;
    const char* calls; // by function, the numbers of those that may fail
    bool only_where_it_logs = false;
};

const spared spared_calls[] = {
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
    {"utm_user_profile_cf_app_policy_reset",
     "fopen 5 ftok 1 2 3 4 open 1 2 read 1 2 3 select 1 2 3 semget 1 2 semop 1 2 3 4 shmat 2 shmget 2 socket 1 2 3 "
     "write 1 2 3 6"},
    // Lines of the log.
    {"utm_log utm_app_policy_config_block utm_ips_show_customizelist", "open 1 write 1", true},
    {"utm_app_policy_config_init_block", "open 1 write 2", true},
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

} // namespace

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
        {"getifaddrs", ENOMEM, true}, // an address that cannot be compared is not the gateway's
        {"inet_ntop", ENOSPC, true},
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
        {"send", EPIPE, false},
        {"setsockopt", EIO, false},
        {"shmat", ENOMEM, false},
        {"shmdt", EINVAL, true},
        {"shmget", EIO, false},
        {"socket", EMFILE, false},
        {"stat", EIO, true}, // of a log
        {"system", ENOMEM, true},
        {"unlink", EIO, true},
        {"write", EPIPE, false},
    };
    return all;
}

bool is_spared(const std::string& operation, const fault& fault, const outcome& undisturbed)
{
    const bool logs = undisturbed.calls.count("stat") != 0;
    return std::any_of(std::begin(spared_calls), std::end(spared_calls), [&](const spared& spared) {
        return has_word(spared.operations, operation) && has_call(spared.calls, fault) &&
               (logs || !spared.only_where_it_logs);
    });
}

bool succeeds_without_lock(const std::string& operation)
{
    return has_word("check_shm_utm_id utm_cf_policy_config_block utm_cf_policy_flush utm_user_profile_add_dev "
                    "utm_user_profile_del_dev utm_user_profile_add_cf_policy utm_user_profile_add_app_policy "
                    "utm_cf_dump_all utm_app_dump_all dump_utm_profile_mapping",
                    operation);
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
