#include "sim/daemon_kind.h"

#include "kqutm/daemon.h"
#include "sim/failure.h"
#include "sim/names.h"

#include <cstddef>
#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace sim {

namespace {

constexpr int backlog = 256;

int listen_at_path(const daemon_kind& kind)
{
    sockaddr_un address = {.sun_family = AF_UNIX};
    strncpy(address.sun_path, kind.path, sizeof address.sun_path - 1);
    unlink(kind.path);
    int listener = socket(AF_UNIX, kind.type | SOCK_CLOEXEC, 0);
    if (listener < 0 || bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener, backlog) != 0 || chmod(kind.path, 0777) != 0)
        fail(std::string("cannot listen at ") + kind.path);
    return listener;
}

constexpr byte_range named_in_responses[] = {{16, 12}, {48, 8}, {80, 128}, {224, 24}, {264, 8}, {280, 4}, {288, 516}};

// The way in which a real engine listens, too.
template <int (*open_socket)()> int listen_by_library(const daemon_kind& kind)
{
    const int listener = open_socket();
    if (listener < 0)
        fail(std::string("cannot listen at ") + kind.path);
    return listener;
}

// The config daemons differ in path, request and service alone.
constexpr daemon_kind config_daemon(const char* name, const char* path, size_t request_size,
                                    std::unique_ptr<service> (*make_service)(), const char* pid_file = nullptr)
{
    return {.name = name,
            .path = path,
            .code_width = 1,
            .request_size = request_size,
            .reply_size = sizeof(utm_event_response),
            .result = {0, 1},
            .more = UTM_RESPONSE_MORE,
            .named = named_in_responses,
            .listen = listen_at_path,
            .make_service = make_service,
            .pid_file = pid_file};
}

constexpr daemon_kind kinds[] = {
    config_daemon("cf", UTM_CF_CONFIG_SOCKET, sizeof(utm_cf_config_event), make_cf, UTM_CF_PID_FILE),
    config_daemon("app", UTM_APP_CONFIG_SOCKET, sizeof(utm_app_config_event), make_app),
    config_daemon("user_profile", UTM_USER_PROFILE_SOCKET, sizeof(utm_user_profile_config_event), make_user_profile),
    {.name = "ips",
     .path = UTM_IPS_SOCKET,
     .request_size = sizeof(utm_ips_message),
     .reply_size = sizeof(utm_ips_message),
     .result = {offsetof(utm_ips_message, result), 4},
     .more = UTM_IPS_LIST_ENTRY,
     .listen = listen_by_library<ips_create_server_socket>,
     .make_service = make_ips},
    {.name = "devid",
     .path = UTM_DEVID_SOCKET,
     .request_size = sizeof(utm_devid_message),
     .reply_size = sizeof(utm_devid_message),
     .result = {offsetof(utm_devid_message, result), 4},
     .listen = listen_by_library<create_server_socket>,
     .make_service = make_devid},
    {.name = "av",
     .path = UTM_AV_SOCKET,
     .request_size = sizeof(utm_av_message),
     .reply_size = sizeof(utm_av_message),
     .result = {offsetof(utm_av_message, status), 4},
     .listen = listen_by_library<av_create_server_socket>,
     .make_service = make_av},
    {.name = "ir",
     .path = UTM_IR_SOCKET,
     .type = SOCK_SEQPACKET,
     .request_size = sizeof(utm_ir_request),
     .reply_size = sizeof(utm_ir_reply),
     .result = {offsetof(utm_ir_reply, status), 4},
     .listen = listen_at_path,
     .make_service = make_ir},
};

} // namespace

std::span<const daemon_kind> daemon_kinds()
{
    return kinds;
}

const daemon_kind& daemon_named(const std::string& name)
{
    for (const daemon_kind& kind : kinds) {
        if (name == kind.name)
            return kind;
    }
    throw input_error("no daemon is called \"" + name + "\" (there are " + names_of(kinds) + ")");
}

} // namespace sim
