#include "kqutm/engines.h"

#include "tools/utmctl/engine_call.h"
#include "tools/utmctl/engine_list.h"
#include "tools/utmctl/engine_status.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/hex.h"
#include "tools/utmctl/text_argument.h"

#include <algorithm>

namespace {

using kqutm::text_of;

constexpr engine_service devid = {{"device-identification", UTM_DEVID_SOCKET}};

constexpr char engine[] = "device identification";

constexpr argument cache_size[] = {
    {"MB", occurs::once, check_whole<1, 10>, "the limit in megabytes, 1 to 10"},
};
constexpr argument interface_and_operation[] = {
    {"INTERFACE", occurs::once, check_text<15>, "the name of the interface, up to 15 characters"},
    {"OPERATION", occurs::once, check_whole<0, 1>, "0 or 1; the daemon defines which is which"},
};

// Some of the daemon's answers mean a refusal unless they are 0, others only when they are -1.
constexpr engine_deed switching = {devid, engine, "switched {STATE}", call_with_state<kqutm::devid::activate>};
constexpr engine_deed sizing = {devid, "the cache of the devices", "limited to {MB} MB",
                                call_with_number<kqutm::devid::set_max_cache_size, cache_size>};
constexpr engine_deed flushing = {devid, "the cache of the devices", "flushed", call<kqutm::devid::flush_cache>};
constexpr engine_deed debugging = {devid, "debugging of device identification", "switched {STATE}",
                                   call_with_state<kqutm::devid::set_debug>};
constexpr engine_deed showing_kernel_list = {devid, "the kernel-side list", "shown by the daemon",
                                             call<kqutm::devid::show_kernel_list>};
constexpr engine_deed resetting = {devid, engine, "reset", call<kqutm::devid::reset>};
constexpr engine_deed ignoring = {
    devid, "ignore operation {OPERATION}", "carried out on interface {INTERFACE}",
    call_with_text_and_number<kqutm::devid::set_ignored_interface, interface_and_operation>};

constexpr status_row status = {devid, "the status of device identification", 1,
                               read_words<utm_devid_status, utm_devid_get_status>, is_minus_one};

constexpr list_field<utm_device> device_fields[] = {
    {"mac", {"MAC", false}, [](const utm_device& one) -> json { return text_of(one.record.mac); }},
    {"ip", {"IP", false}, [](const utm_device& one) -> json { return text_of(one.record.ip); }},
    {"interface",
     {"INTERFACE", false},
     [](const utm_device& one) -> json { return text_of(one.record.interface_name); }},
    {"name", {"NAME", false}, [](const utm_device& one) -> json { return text_of(one.record.name); }},
    {"type", {"TYPE", false}, [](const utm_device& one) -> json { return text_of(one.record.type_name); }},
    {"kind", {"KIND"}, [](const utm_device& one) -> json { return one.record.kind; }},
};

json bytes_of(const utm_device& one)
{
    const auto* bytes = reinterpret_cast<const uint8_t*>(&one.record);
    return hex_of({bytes, sizeof one.record});
}

constexpr list_field<utm_device> raw_device_fields[] = {
    {"raw", {"RAW", false}, bytes_of},
};
constexpr list_row<utm_device> devices = {devid, "the devices", device_fields, raw_device_fields};

// One of the daemon's filters, each an option of its own.
struct filter {
    const char* option;
    kqutm::result<kqutm::list<utm_device>> (*query)(const std::string& given);
};

constexpr filter filters[] = {
    {"--ip", kqutm::devid::devices_by_ip},
    {"--interface", kqutm::devid::devices_by_interface},
    {"--mac", [](const std::string& given) { return kqutm::devid::devices_by_mac(mac_of(given).text()); }},
};

outcome list_devices(const request& asked)
{
    std::function<kqutm::result<kqutm::list<utm_device>>()> query = kqutm::devid::devices;
    size_t given = 0;
    for (const filter& one : filters) {
        if (!asked.has(one.option))
            continue;
        query = [&] { return one.query(asked.one(one.option)); };
        ++given;
    }
    if (given > 1)
        refuse_usage("devid devices: the daemon takes one filter at a time",
                     "give one of --ip, --interface and --mac, or none");
    return fetch_list(devices, query, asked.timeout, asked.has("--raw"));
}

outcome show_timestamp(const request& asked)
{
    const std::string what = "the time of the latest change was not read";
    const auto timestamp = call_in_worker(what, asked.timeout, [] { return as_json(kqutm::devid::latest_timestamp()); },
                                          {.daemons = {devid}, .registry_lock = false})
                               .result;
    if (!timestamp)
        throw failure(exchange_problem(what, devid, failed_exchange_with(devid, timestamp.error().error)));
    return {.result = {{"timestamp", *timestamp}}, .lines = {cell_of(*timestamp)}};
}

constexpr argument one_filter[] = {
    {"--ip", occurs::at_most_once, check_ip, "those with this IP address, or the gateway itself"},
    {"--interface", occurs::at_most_once, check_text<15>, "those on this interface"},
    {"--mac", occurs::at_most_once, check_mac,
     "those with this MAC address, which is sent in small letters with colons"},
    {"--raw", occurs::flag, nullptr, "show each record's bytes too, as pairs of hexadecimal digits"},
};

constexpr command commands[] = {
    {"switch",
     state,
     {perform<switching>, "utm_devid_activate"},
     "switch device identification on or off",
     nullptr,
     "devid switch on"},
    {"status",
     raw_block,
     {show_status<status>, "utm_devid_get_status"},
     "show the engine's status, in words that the daemon defines"},
    {"devices",
     one_filter,
     {list_devices, "utm_devid_get_device_list utm_devid_get_device_list_by_ip utm_devid_get_device_list_by_interface "
                    "utm_devid_get_device_list_by_mac"},
     "list the devices that the daemon knows",
     nullptr,
     "devid devices --interface br-lan"},
    {"cache-size", cache_size, {perform<sizing>, "utm_devid_cache_set_max_size"}, "limit the daemon's cache"},
    {"flush",
     {},
     {perform<flushing>, "utm_devid_flush_cache_list"},
     "empty the daemon's cache",
     "the devices in the daemon's cache",
     "devid flush --yes"},
    {"timestamp",
     {},
     {show_timestamp, "utm_devid_get_latest_timestamp"},
     "print the time of the latest change to the devices, in the daemon's own unit"},
    {"debug", state, {perform<debugging>, "utm_devid_debug"}, "switch the daemon's debugging on or off"},
    {"show-kernel-list",
     {},
     {perform<showing_kernel_list>, "utm_devid_show_all_list"},
     "have the daemon show its kernel-side list, where it does"},
    {"reset", {}, {perform<resetting>, "utm_devid_reset"}, "set the engine back", "the engine's settings"},
    {"ignore",
     interface_and_operation,
     {perform<ignoring>, "utm_devid_set_ignore_iface"},
     "mark an interface as ignored, or take the mark away",
     nullptr,
     "devid ignore eth1 0"},
};

} // namespace

constinit const family devid_family = {"devid", "the device-identification engine", commands};
