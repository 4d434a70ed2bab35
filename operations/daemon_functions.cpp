#include "operations/callable.h"
#include "operations/families.h"
#include "operations/results.h"

namespace operations {

namespace {

constexpr char event_help[] = "the record of the target, as the daemon takes it";
constexpr char target_help[] = "0 the content-filter, 1 the application, 2 the user-profile daemon";
constexpr char exchange_with_target[] = "exchange: the event sent to the target, and its answer received";

constexpr meaning socket_values[] = {{"a descriptor", "of the socket, closed when another program is run"},
                                     {"-1", "failed; no socket is left at the path"}};
constexpr result_kind socket_or_not = {fails::negative, socket_values, system_causes, fails_on::system};

constexpr meaning connection_causes[] = {
    {"ENOENT", "the daemon's socket is missing"},
    {"ECONNREFUSED", "nobody listens on the daemon's socket"},
    {"other", "of the system call that failed"},
};
constexpr meaning connection_values[] = {{"a descriptor", "of the connection, with the time limits of its family"},
                                         {"below 0", "failed; errno tells the cause"}};
constexpr result_kind connection_or_not = {fails::negative, connection_values, connection_causes};

constexpr meaning response_values[] = {{"a response", "the last that came, with the list that the request collects"},
                                       {"null", "failed; errno tells the cause"}};
constexpr result_kind response_or_null = {fails::null, response_values, exchange_causes};
constexpr char response_is_released[] = "response and list are released";

constexpr char connecting_waits[] = "to connect without a limit";
constexpr char takes_over[] = "the socket at the daemon's path: the daemon can no longer be reached there";
constexpr char opens_socket[] = "system: the socket at the daemon's path removed, and made anew";
constexpr char connects[] = "system: connected to the daemon's socket";

const daemon_row* target_of(int target)
{
    constexpr const daemon_row* targets[] = {&cf_daemon, &app_daemon, &user_profile_daemon};
    return target >= 0 && static_cast<size_t>(target) < std::size(targets) ? targets[target] : nullptr;
}

// The slot of the list that a request collects; every other slot holds what the daemon sent.
json list_of(utm_event_response& response, int target, uint32_t code)
{
    if (target == UTM_CONFIG_TARGET_CF)
        return code == UTM_CF_GET_BROWSED_DOMAINS ? told_and_released(response.domain_browse_list) : json();
    if (target != UTM_CONFIG_TARGET_APP || code == UTM_APP_GET_DAEMON_STATUS)
        return {};
    if (code == UTM_APP_GET_WEEKDAY_LIMITS)
        return told_and_released(response.weekday_limit_list);
    if (code == UTM_APP_GET_USAGE_PREV_DAYS)
        return told_and_released(response.prev_days_list);
    return told_and_released(response.app_usage_list);
}

struct told_response {
    json operator()(utm_event_response* response, words given) const
    {
        if (response == nullptr)
            return {};
        const int target = argument<int>(given, 1).value();
        const uint32_t code = *static_cast<const uint8_t*>(config_event(given, 0).value());
        const daemon_row* daemon = target_of(target);
        const code_row* row = daemon != nullptr ? row_of(*daemon, code) : nullptr;
        json told = {{"status", response->status}};
        if (row != nullptr && row->form == reply_form::single)
            told["fields"] = decode_fields(row->reply, to_record(*response));
        told["list"] = list_of(*response, target, code);
        free(response);
        return told;
    }
};

constexpr function_row functions[] = {
    {bound<send_utm_config_event, told_released, config_event, argument<int>>(
         "int send_utm_config_event(const void* event, int target)"),
     "sends a config event to a config daemon, and tells whether it accepted",
     {event_help, target_help},
     {exchange_with_target},
     tells_one,
     accepted},
    {bound<send_utm_event_and_get_response, told_response, config_event, argument<int>>(
         "struct utm_event_response* send_utm_event_and_get_response(const void* event, int target)"),
     "sends a config event to a config daemon, and returns its answer",
     {event_help, target_help},
     {exchange_with_target},
     asks_one,
     response_or_null,
     response_is_released},
    {bound<ips_create_server_socket, told_closed>("int ips_create_server_socket(void)"),
     "opens the listening socket of the intrusion-prevention engine",
     {},
     {opens_socket},
     waits_not,
     socket_or_not,
     descriptor_is_closed,
     takes_over},
    {bound<create_server_socket, told_closed>("int create_server_socket(void)"),
     "opens the listening socket of the device-identification engine",
     {},
     {opens_socket},
     waits_not,
     socket_or_not,
     descriptor_is_closed,
     takes_over},
    {bound<av_create_server_socket, told_closed>("int av_create_server_socket(void)"),
     "opens the listening socket of the anti-virus engine",
     {},
     {opens_socket},
     waits_not,
     socket_or_not,
     descriptor_is_closed,
     takes_over},
    {bound<connect_ips, told_closed>("int connect_ips(void)"),
     "connects to the intrusion-prevention engine, in one attempt",
     {},
     {connects},
     connecting_waits,
     connection_or_not,
     descriptor_is_closed},
    {bound<connect_deviceid, told_closed>("int connect_deviceid(void)"),
     "connects to the device-identification engine, in one attempt",
     {},
     {connects},
     "up to 3 s to connect",
     connection_or_not,
     descriptor_is_closed},
    {bound<connect_avd, told_closed>("int connect_avd(void)"),
     "connects to the anti-virus engine, in one attempt",
     {},
     {connects},
     connecting_waits,
     connection_or_not,
     descriptor_is_closed},
    {bound<ips_create_node, told_as_node>("struct utm_ips_rule* ips_create_node(void)"),
     "makes an entry of the customize list",
     {},
     {},
     waits_not,
     node_or_null,
     node_is_released},
    {bound<create_dev, told_as_node>("struct utm_device* create_dev(void)"),
     "makes an entry of the device list",
     {},
     {},
     waits_not,
     node_or_null,
     node_is_released},
    {bound<av_create_node, told_as_node>("struct utm_av_entry* av_create_node(void)"),
     "makes an entry of the anti-virus lists",
     {},
     {},
     waits_not,
     node_or_null,
     node_is_released},
};

} // namespace

std::span<const function_row> daemon_functions()
{
    return functions;
}

} // namespace operations
