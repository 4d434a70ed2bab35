#include "kqutm/engines.h"

#include "tools/utmctl/engine_call.h"
#include "tools/utmctl/engine_list.h"
#include "tools/utmctl/engine_status.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/hex.h"
#include "tools/utmctl/text_argument.h"

#include <algorithm>

namespace {

constexpr service devid = {"device-identification", UTM_DEVID_SOCKET};

constexpr char engine[] = "device identification";

constexpr argument cache_size[] = {
    {"MB", occurs::once, check_whole<1, 10>, "the limit in megabytes, 1 to 10"},
};
constexpr argument interface_and_operation[] = {
    {"INTERFACE", occurs::once, check_text<15>, "the name of the interface, up to 15 characters"},
    {"OPERATION", occurs::once, check_whole<0, 1>, "0 or 1; the daemon defines which is which"},
};

// Some of the daemon's answers mean a refusal unless they are 0, others only when they are -1.
constexpr deed_row switching = {devid, engine, "switched {STATE}", call_with_state<utm_devid_activate>, tells_answer};
constexpr deed_row sizing = {devid,
                             "the cache of the devices",
                             "limited to {MB} MB",
                             call_with_number<utm_devid_cache_set_max_size, cache_size>,
                             tells_answer,
                             is_minus_one};
constexpr deed_row flushing = {
    devid, "the cache of the devices", "flushed", call<utm_devid_flush_cache_list>, tells_answer, is_minus_one};
constexpr deed_row debugging = {devid,
                                "debugging of device identification",
                                "switched {STATE}",
                                call_with_state<utm_devid_debug>,
                                tells_answer,
                                is_minus_one};
constexpr deed_row showing_kernel_list = {
    devid, "the kernel-side list", "shown by the daemon", call<utm_devid_show_all_list>, tells_answer, is_minus_one};
constexpr deed_row resetting = {devid, engine, "reset", call<utm_devid_reset>, tells_answer};
constexpr deed_row ignoring = {devid, "ignore operation {OPERATION}", "carried out on interface {INTERFACE}",
                               call_with_text_and_number<utm_devid_set_ignore_iface, interface_and_operation>,
                               tells_answer};

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
    utm_device* (*query)(const char* value);
    std::string (*sent)(const std::string& given);
};

std::string as_given(const std::string& value)
{
    return value;
}

constexpr filter filters[] = {
    {"--ip", utm_devid_get_device_list_by_ip, as_given},
    {"--interface", utm_devid_get_device_list_by_interface, as_given},
    {"--mac", utm_devid_get_device_list_by_mac, normal_mac},
};

outcome list_devices(const request& asked)
{
    std::function<utm_device*()> query = utm_devid_get_device_list;
    size_t given = 0;
    for (const filter& one : filters) {
        if (!asked.has(one.option))
            continue;
        query = [&] { return one.query(one.sent(asked.one(one.option)).c_str()); };
        ++given;
    }
    if (given > 1)
        refuse_usage("devid devices: the daemon takes one filter at a time",
                     "give one of --ip, --interface and --mac, or none");
    return fetch_list(devices, query, asked.timeout, asked.has("--raw"));
}

// A timestamp of 0 is a failure, unless errno is 0: a whole answer came.
outcome show_timestamp(const request& asked)
{
    const std::string what = "the time of the latest change was not read";
    const call_result call = call_in_worker(what, asked.timeout, [] { return json(utm_devid_get_latest_timestamp()); },
                                            {.daemons = {devid}, .registry_lock = false});
    const uint64_t timestamp = call.value;
    if (timestamp == 0 && call.error != 0)
        throw failure(exchange_problem(what, devid, call.error));
    return {.result = {{"timestamp", timestamp}}, .lines = {std::to_string(timestamp)}};
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
