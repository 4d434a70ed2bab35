#include "operations/callable.h"
#include "operations/families.h"
#include "operations/results.h"

namespace operations {

namespace {

constexpr meaning devices_values[] = {
    {"a list",
     "circular, behind a head of which only the links mean anything; where errno tells a cause, it is not whole"},
    {"null", "no device (errno 0), or the daemon could not be asked, or memory is short"},
};
constexpr result_kind devices_or_null = {fails::null, devices_values, exchange_causes, fails_on::daemon, true};

constexpr meaning minus_one_values[] = {
    {"-1", "the daemon refused, an argument was refused, or no answer came"},
    {"other", "the daemon's own way to say yes"},
};
constexpr result_kind refused_by_minus_one = {fails::minus_one, minus_one_values, exchange_causes};

constexpr meaning timestamp_values[] = {
    {"a number", "the timestamp, whatever the daemon's result is; of 0 where errno is 0"},
    {"0", "failed, where errno is not 0"},
};
constexpr result_kind timestamp = {fails::zero, timestamp_values, exchange_causes};

constexpr function_row functions[] = {
    {bound<utm_devid_get_device_list>("struct utm_device* utm_devid_get_device_list(void)"),
     "gets all devices that the daemon knows",
     {},
     {{devid_daemon, UTM_DEVID_GET_DEVICE_LIST}},
     devid_waits,
     devices_or_null,
     list_is_released},
    {bound<utm_devid_get_device_list_by_ip>("struct utm_device* utm_devid_get_device_list_by_ip(const char* ip)"),
     "gets the devices with an IP address; for one of the gateway's own without a device, a record that stands for the "
     "gateway",
     {"the address as text; cut at 15 characters; must not be null"},
     {{devid_daemon, UTM_DEVID_GET_DEVICE_LIST},
      "system: the gateway's own addresses are compared, where the list ends without a device"},
     devid_waits,
     devices_or_null,
     list_is_released},
    {bound<utm_devid_get_device_list_by_interface>(
         "struct utm_device* utm_devid_get_device_list_by_interface(const char* ifname)"),
     "gets the devices on an interface",
     {"the interface's name; cut at 15 characters; must not be null"},
     {{devid_daemon, UTM_DEVID_GET_DEVICE_LIST}},
     devid_waits,
     devices_or_null,
     list_is_released},
    {bound<utm_devid_get_device_list_by_mac>("struct utm_device* utm_devid_get_device_list_by_mac(const char* mac)"),
     "gets the devices with a MAC address",
     {"the address as text; cut at 31 characters; must not be null"},
     {{devid_daemon, UTM_DEVID_GET_DEVICE_LIST}},
     devid_waits,
     devices_or_null,
     list_is_released},
    {bound<utm_devid_free_device_list>("void utm_devid_free_device_list(struct utm_device* list)"),
     "releases every device of a list and its head",
     {"the list; null is accepted"},
     {},
     waits_not,
     nothing_told},
    {bound<utm_devid_activate>("int32_t utm_devid_activate(uint32_t on)"),
     "switches device identification",
     {switch_help},
     {{devid_daemon, UTM_DEVID_ACTIVATE}},
     devid_waits,
     answered},
    {bound<utm_devid_get_status>("int32_t utm_devid_get_status(struct utm_devid_status* out)"),
     "reads the engine's status; the daemon defines what the three words mean",
     {"where the status goes, whose first word stays as it was; must not be null"},
     {{devid_daemon, UTM_DEVID_GET_STATUS}},
     devid_waits,
     refused_by_minus_one},
    {bound<utm_devid_cache_set_max_size>("int32_t utm_devid_cache_set_max_size(uint32_t mb)"),
     "limits the daemon's cache",
     {"megabytes, 1 to 10; anything else is refused"},
     {{devid_daemon, UTM_DEVID_CACHE_SET_MAX_SIZE}},
     devid_waits,
     refused_by_minus_one},
    {bound<utm_devid_flush_cache_list>("int32_t utm_devid_flush_cache_list(void)"),
     "empties the daemon's cache",
     {},
     {{devid_daemon, UTM_DEVID_FLUSH_CACHE_LIST}},
     devid_waits,
     refused_by_minus_one,
     nullptr,
     "the devices in the daemon's cache"},
    {bound<utm_devid_get_latest_timestamp>("uint64_t utm_devid_get_latest_timestamp(void)"),
     "asks for the time of the latest change to the devices, in the daemon's own unit",
     {},
     {{devid_daemon, UTM_DEVID_GET_LATEST_TIMESTAMP}},
     devid_waits,
     timestamp},
    {bound<utm_devid_debug>("int32_t utm_devid_debug(uint32_t on)"),
     "switches the daemon's debugging",
     {switch_help},
     {{devid_daemon, UTM_DEVID_DEBUG}},
     devid_waits,
     refused_by_minus_one},
    {bound<utm_devid_show_all_list>("int32_t utm_devid_show_all_list(void)"),
     "has the daemon show its kernel-side list, where the daemon shows such things",
     {},
     {{devid_daemon, UTM_DEVID_SHOW_ALL_LIST}},
     devid_waits,
     refused_by_minus_one},
    {bound<utm_devid_reset>("int32_t utm_devid_reset(void)"),
     "sets the engine back; the daemon defines to what",
     {},
     {{devid_daemon, UTM_DEVID_RESET}},
     devid_waits,
     answered,
     nullptr,
     "the engine's settings and devices"},
    {bound<utm_devid_set_ignore_iface>("int32_t utm_devid_set_ignore_iface(const char* ifname, uint32_t op)"),
     "marks an interface as ignored, or takes the mark away",
     {"the interface's name; cut at 15 characters; an empty one is refused",
      "0 or 1, and the daemon defines which is which; anything else is refused"},
     {{devid_daemon, UTM_DEVID_SET_IGNORE_IFACE}},
     devid_waits,
     answered},
};

} // namespace

std::span<const function_row> devid_functions()
{
    return functions;
}

} // namespace operations
