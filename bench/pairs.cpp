#include "bench/pairs.h"

#include "bench/floor.h"

#include "kqutm/app.h"
#include "kqutm/cf.h"
#include "kqutm/daemon.h"
#include "kqutm/registry.h"

#include <cstdio>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

constexpr double usual = 1.05;
constexpr double many = 1.10;
constexpr double logging = 1.15;

constexpr uint32_t profile = 7;
constexpr uint32_t spare_id = 100000;

void release_devices(void* list)
{
    utm_devid_free_device_list(static_cast<utm_device*>(list));
}

template <int Count> void floor_devices()
{
    char count[16];
    snprintf(count, sizeof count, "%d", Count);
    release_devices(floor::devices(count));
}

template <int Count> void library_devices()
{
    char count[16];
    snprintf(count, sizeof count, "%d", Count);
    release_devices(utm_devid_get_device_list_by_interface(count));
}

void release_domains(void* list)
{
    utm_list_links* end = &static_cast<utm_domain_browse_entry*>(list)->links;
    for (utm_list_links* at = end->next; at != end;) {
        utm_list_links* next = at->next;
        free(reinterpret_cast<char*>(at) - offsetof(utm_domain_browse_entry, links));
        at = next;
    }
    free(list);
}

void floor_cf_send()
{
    const utm_cf_config_event event = {.code = UTM_CF_DEBUG, .body = {.value = 1}};
    floor::config_send(&event, sizeof event, UTM_CF_CONFIG_SOCKET);
}

template <uint32_t Count> void floor_usage()
{
    const utm_app_config_event event = {.code = UTM_APP_GET_USAGE_BY_APP,
                                        .body = {.limits = {.profile = profile, .weekday_or_query = Count}}};
    utm_user_profile_free_app_usage_list(
        static_cast<utm_app_usage_entry*>(floor::config_read(&event, sizeof event, UTM_APP_CONFIG_SOCKET)));
}

template <uint32_t Count> void library_usage()
{
    utm_user_profile_free_app_usage_list(utm_user_profile_get_app_usage(profile, Count));
}

void floor_domains()
{
    const utm_cf_config_event event = {.code = UTM_CF_GET_BROWSED_DOMAINS, .body = {.profile = {.id = 100}}};
    release_domains(floor::config_read(&event, sizeof event, UTM_CF_CONFIG_SOCKET));
}

void floor_ips()
{
    utm_ips_message message = {.code = UTM_IPS_ACTIVATE};
    floor::engine_exchange(UTM_IPS_SOCKET, &message, sizeof message, 1);
}

void floor_devid()
{
    utm_devid_message message = {.code = UTM_DEVID_FLUSH_CACHE_LIST};
    floor::engine_exchange(UTM_DEVID_SOCKET, &message, sizeof message, 2);
}

void floor_av()
{
    utm_av_message message = {.code = UTM_AV_RESET};
    floor::engine_exchange(UTM_AV_SOCKET, &message, sizeof message, 1);
}

void library_reserve_and_release()
{
    get_unique_id(spare_id, UTM_ID_USER_PROFILE);
    reset_utm_id_shm(spare_id, UTM_ID_USER_PROFILE);
}

void floor_check()
{
    floor::check_id(profile);
}

void library_check()
{
    check_shm_utm_id(profile, UTM_ID_USER_PROFILE);
}

// Each of so many processes does it a hundred times, in turn with the others where it takes the lock.
template <int Processes, void (*Operation)()> void at_once()
{
    for (int process = 0; process < Processes; ++process) {
        if (fork() != 0)
            continue;
        for (int times = 0; times < 100; ++times)
            Operation();
        _exit(EXIT_SUCCESS);
    }
    for (int process = 0; process < Processes; ++process)
        wait(nullptr);
}

template <int Processes> pair check_by(const char* name)
{
    return {name, at_once<Processes, floor_check>, at_once<Processes, library_check>, usual, 0, 10, Processes};
}

void release_mapping(void* list)
{
    utm_free_profile_mapping_list(static_cast<utm_profile_mapping*>(list));
}

void library_add_device()
{
    constexpr uint8_t mac[6] = {2, 0, 0, 0, 0, 1};
    utm_user_profile_add_dev(profile, mac);
}

char text[UTM_UUID_SIZE];

void floor_log_line()
{
    char line[128];
    const int size = snprintf(line, sizeof line, "%s(%d) %s", "utm_ips_activate", 42, "set switch fail\n");
    floor::log_line(UTM_IPS_LOG, line, static_cast<size_t>(size));
}

} // namespace

const std::vector<pair>& pairs()
{
    static const std::vector<pair> all = {
        {"config send", floor_cf_send, [] { utm_cf_debug(1); }, usual},
        {"config read", floor_usage<0>, library_usage<0>, usual},
        {"usage list of 1000", floor_usage<1000>, library_usage<1000>, usual, 1000, 100},
        {"domain list of 100, traced", floor_domains,
         [] { release_domains(utm_user_profile_get_browse_domain_list(100)); }, many, 0, 100},
        {"IPS", floor_ips, [] { utm_ips_activate(1); }, usual},
        {"devid", floor_devid, [] { utm_devid_flush_cache_list(); }, usual},
        {"AV", floor_av, [] { utm_av_reset(); }, usual},
        {"IR", floor::ir_exchange, [] { utm_ir_db_set_update_check_freq(1); }, usual},
        {"device list of 0", floor_devices<0>, library_devices<0>, usual},
        {"device list of 1000", floor_devices<1000>, library_devices<1000>, usual, 1000, 100},
        {"device list of 100000", floor_devices<100000>, library_devices<100000>, many, 100000, 5},
        {"check", floor_check, library_check, usual},
        check_by<2>("check by 2 processes"),
        check_by<8>("check by 8 processes"),
        check_by<64>("check by 64 processes"),
        {"reserve and release", [] { floor::reserve_and_release(spare_id); }, library_reserve_and_release, usual},
        {"bind", [] { floor::bind(profile, 20); }, [] { utm_user_profile_add_cf_policy(profile, 20); }, usual},
        {"mapping of 255", [] { release_mapping(floor::mapping()); },
         [] { release_mapping(dump_utm_profile_mapping()); }, usual},
        {"add device", [] { floor::add_device(profile); }, library_add_device, usual},
        {"UUID", [] { floor::get_uuid(text); }, [] { utm_uuid_get(text, sizeof text); }, usual},
        {"log line", floor_log_line,
         [] { utm_log(UTM_IPS_LOG, "%s(%d) %s", "utm_ips_activate", 42, "set switch fail\n"); }, logging},
    };
    return all;
}

void prepare()
{
    for (const char* log : {UTM_IPS_LOG, UTM_APPCF_LOG})
        utm_log(log, "first line\n");
    utm_uuid_set("3f2504e0-4f89-11d3-9a0c-0305e82c3301");
    init_utm_id_shm();
    get_unique_id(20, UTM_ID_CF_POLICY);
    for (uint32_t id = 1; id < UTM_ID_SLOTS; ++id)
        get_unique_id(id, UTM_ID_USER_PROFILE);
}

} // namespace bench
