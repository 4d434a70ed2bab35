#include "kqutm/daemon.h"
#include "operations/codes.h"

namespace operations {

namespace {

using enum field_type;
using enum reply_form;

constexpr field mac_field = {"mac", text, offsetof(utm_devid_message, device.mac), sizeof utm_device_record::mac};
constexpr field ip_field = {"ip", text, offsetof(utm_devid_message, device.ip), sizeof utm_device_record::ip};
constexpr field interface_field = {"interface", text, offsetof(utm_devid_message, device.interface_name),
                                   sizeof utm_device_record::interface_name};

constexpr field switch_field[] = {{"on", number, offsetof(utm_devid_message, on), 4}};
constexpr field debug_field[] = {{"debug", number, offsetof(utm_devid_message, debug), 4}};
constexpr field status_fields[] = {
    debug_field[0], switch_field[0], {"cache_size", number, offsetof(utm_devid_message, status_word_3), 4}};
constexpr field filter_fields[] = {ip_field, interface_field, mac_field};
constexpr field device_fields[] = {
    mac_field,
    {"name", text, offsetof(utm_devid_message, device.name), sizeof utm_device_record::name},
    ip_field,
    interface_field,
    {"type", text, offsetof(utm_devid_message, device.type_name), sizeof utm_device_record::type_name},
    {"kind", number, offsetof(utm_devid_message, device.kind), 4}};
constexpr field size_field[] = {{"cache_size", number, offsetof(utm_devid_message, cache_size), 4}};
constexpr field timestamp_field[] = {{"timestamp", number, offsetof(utm_devid_message, latest_timestamp), 8}};
constexpr field ignore_fields[] = {interface_field, {"operation", number, offsetof(utm_devid_message, ignore), 4}};

constexpr code_row codes[] = {
    {UTM_DEVID_ACTIVATE, "activate", switch_field},
    {UTM_DEVID_GET_STATUS, "get status", {}, status_fields},
    {UTM_DEVID_GET_DEVICE_LIST, "get device list", filter_fields, device_fields, list},
    {UTM_DEVID_CACHE_SET_MAX_SIZE, "set cache size", size_field},
    {UTM_DEVID_FLUSH_CACHE_LIST, "flush", {}},
    {UTM_DEVID_GET_LATEST_TIMESTAMP, "get timestamp", {}, timestamp_field},
    {UTM_DEVID_DEBUG, "debug", debug_field},
    {UTM_DEVID_SHOW_ALL_LIST, "show all", {}},
    {UTM_DEVID_RESET, "reset", {}},
    {UTM_DEVID_SET_IGNORE_IFACE, "set ignore iface", ignore_fields},
};

} // namespace

std::span<const code_row> devid_codes()
{
    return codes;
}

} // namespace operations
