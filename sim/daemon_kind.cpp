#include "sim/daemon_kind.h"

#include "sim/failure.h"
#include "sim/names.h"

#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace sim {

namespace {

constexpr int backlog = 256;

int listen_at_path(const daemon_row& kind)
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

// The way in which a real engine listens, too.
template <int (*open_socket)()> int listen_by_library(const daemon_row& kind)
{
    const int listener = open_socket();
    if (listener < 0)
        fail(std::string("cannot listen at ") + kind.path);
    return listener;
}

constexpr daemon_kind kinds[] = {
    {{cf_daemon}, listen_at_path, make_cf},
    {{app_daemon}, listen_at_path, make_app},
    {{user_profile_daemon}, listen_at_path, make_user_profile},
    {{ips_daemon}, listen_by_library<ips_create_server_socket>, make_ips},
    {{devid_daemon}, listen_by_library<create_server_socket>, make_devid},
    {{av_daemon}, listen_by_library<av_create_server_socket>, make_av},
    {{ir_daemon}, listen_at_path, make_ir},
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
