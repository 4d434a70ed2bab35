#include "bench/pairs.h"

#include "bench/crew.h"
#include "bench/floor.h"
#include "bench/usage.h"

#include "kqutm/app.h"
#include "kqutm/cf.h"
#include "kqutm/daemon.h"
#include "kqutm/registry.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace bench {

namespace {

constexpr double usual = 1.05;
constexpr double many = 1.10;
constexpr double logging = 1.15;

constexpr long exchange = 200; // instructions
constexpr long guarded_exchange = 300;
constexpr long device = 20;
constexpr long registry = 60;
constexpr long line = 1500;

constexpr uint32_t profile = 7;
constexpr uint32_t policy = 8;
constexpr uint32_t spare_id = 1000000;

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

template <int Count> pair devices(const char* name, double goal, int rounds)
{
    return {name, floor_devices<Count>, library_devices<Count>, goal, guarded_exchange + Count * device, Count, rounds};
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

void reserve_and_release(uint32_t id)
{
    get_unique_id(id, UTM_ID_CF_POLICY);
    reset_utm_id_shm(id, UTM_ID_CF_POLICY);
}

void floor_check()
{
    floor::check_id(profile);
}

void library_check()
{
    check_shm_utm_id(profile, UTM_ID_USER_PROFILE);
}

// So many operations by so many processes together, which take turns where they lock.
template <int Processes, void (*Operation)()> void by()
{
    constexpr int operations = 960;
    at_once(Processes, Operation, operations / Processes);
}

template <int Processes> pair check_by(const char* name)
{
    return {name, by<Processes, floor_check>, by<Processes, library_check>, usual, 0, 0, 96, Processes};
}

// Each process has an identifier of its own.
uint32_t own_id()
{
    return spare_id + static_cast<uint32_t>(getpid());
}

void floor_reserve_own()
{
    floor::reserve_and_release(own_id());
}

void library_reserve_own()
{
    reserve_and_release(own_id());
}

template <int Processes> pair reserve_by(const char* name)
{
    return {name, by<Processes, floor_reserve_own>, by<Processes, library_reserve_own>, usual, 0, 0, 96, Processes};
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
    char written[128];
    const int size = snprintf(written, sizeof written, "%s(%d) %s", "utm_ips_activate", 42, "set switch fail\n");
    floor::log_line(UTM_IPS_LOG, written, static_cast<size_t>(size));
}

// Profiles and content-filter policies from the first identifier to these. The policies leave slots to those who
// reserve.
bool register_ids(uint32_t first, uint32_t last_profile, uint32_t last_policy)
{
    for (uint32_t id = first; id <= last_profile; ++id)
        get_unique_id(id, UTM_ID_USER_PROFILE);
    for (uint32_t id = first; id <= last_policy; ++id)
        get_unique_id(id, UTM_ID_CF_POLICY);
    return true;
}

const char* const show_registry[] = {KQUTM_UTMCTL, "registry", "show", nullptr};

} // namespace

const std::vector<pair>& pairs()
{
    static const std::vector<pair> all = {
        {"config send", floor_cf_send, [] { utm_cf_debug(1); }, usual, guarded_exchange},
        {"config read", floor_usage<0>, library_usage<0>, usual, guarded_exchange},
        {"usage list of 1000", floor_usage<1000>, library_usage<1000>, usual, 0, 1000, 600},
        {"domain list of 100, traced", floor_domains,
         [] { release_domains(utm_user_profile_get_browse_domain_list(100)); }, many, guarded_exchange + 100 * line,
         100, 300},
        {"IPS", floor_ips, [] { utm_ips_activate(1); }, usual, guarded_exchange},
        {"devid", floor_devid, [] { utm_devid_flush_cache_list(); }, usual, guarded_exchange},
        {"AV", floor_av, [] { utm_av_reset(); }, usual, exchange},
        {"IR", floor::ir_exchange, [] { utm_ir_db_set_update_check_freq(1); }, usual, exchange},
        devices<0>("device list of 0", usual, 4000),
        devices<1000>("device list of 1000", usual, 600),
        devices<100000>("device list of 100000", many, 24),
        {"check", floor_check, library_check, usual, registry},
        check_by<2>("check by 2 processes"),
        check_by<4>("check by 4 processes"),
        check_by<8>("check by 8 processes"),
        check_by<16>("check by 16 processes"),
        check_by<32>("check by 32 processes"),
        check_by<64>("check by 64 processes"),
        {"reserve and release", [] { floor::reserve_and_release(spare_id); }, [] { reserve_and_release(spare_id); },
         usual, 2 * registry},
        reserve_by<2>("reserve by 2 processes"),
        reserve_by<4>("reserve by 4 processes"),
        reserve_by<8>("reserve by 8 processes"),
        reserve_by<16>("reserve by 16 processes"),
        reserve_by<32>("reserve by 32 processes"),
        reserve_by<64>("reserve by 64 processes"),
        {"bind", [] { floor::bind(profile, policy); }, [] { utm_user_profile_add_cf_policy(profile, policy); }, usual,
         3 * registry + guarded_exchange},
        {"mapping of 256", [] { release_mapping(floor::mapping()); },
         [] { release_mapping(dump_utm_profile_mapping()); }, usual, registry + 256 * device, 256},
        {"add device", [] { floor::add_device(profile); }, library_add_device, usual, registry + 3 * guarded_exchange},
        {"UUID", [] { floor::get_uuid(text); }, [] { utm_uuid_get(text, sizeof text); }, usual, registry},
        {"log line", floor_log_line,
         [] { utm_log(UTM_IPS_LOG, "%s(%d) %s", "utm_ips_activate", 42, "set switch fail\n"); }, logging, line},
    };
    return all;
}

const std::vector<limit>& limits()
{
    constexpr double more_memory = 512;
    static const std::vector<limit> all = {
        {"KB of memory, device list of 100000", [] { return peak_memory(floor_devices<100000>); },
         [] { return peak_memory(library_devices<100000>); }, more_memory},
        {"KB of memory, usage list of 1000", [] { return peak_memory(floor_usage<1000>); },
         [] { return peak_memory(library_usage<1000>); }, more_memory},
        {"ms of processor, utmctl registry show", nullptr, [] { return processor_time(show_registry); }, 5},
        {"ms of processor, for a full registry", nullptr,
         [] {
             fill_registry();
             return processor_time(show_registry);
         },
         0},
    };
    return all;
}

void prepare()
{
    for (const char* log : {UTM_IPS_LOG, UTM_APPCF_LOG})
        utm_log(log, "first line\n");
    utm_uuid_set("3f2504e0-4f89-11d3-9a0c-0305e82c3301");
    init_utm_id_shm();
    register_ids(1, 8, 8);
}

void fill_registry()
{
    static const bool filled = register_ids(9, UTM_ID_SLOTS, UTM_ID_SLOTS - 64);
    (void)filled;
}

} // namespace bench
