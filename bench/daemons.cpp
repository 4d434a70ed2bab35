#include "bench/daemons.h"

#include "kqutm/daemon.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace bench {

namespace {

using bytes = std::vector<char>;

template <class Record> bytes bytes_of(const Record& record)
{
    const auto* first = reinterpret_cast<const char*>(&record);
    return {first, first + sizeof record};
}

// What a daemon sends: so many entries, and then the last record.
struct answer {
    size_t entries = 0;
    bytes entry;
    bytes last;
};

answer answer_devid(const bytes& request)
{
    utm_devid_message asked = {};
    memcpy(&asked, request.data(), std::min(request.size(), sizeof asked));
    utm_devid_message entry = {};
    strcpy(entry.device.name, "device");
    if (asked.code != UTM_DEVID_GET_DEVICE_LIST)
        return {.last = bytes_of(entry)};
    return {.entries = strtoul(asked.device.interface_name, nullptr, 10),
            .entry = bytes_of(entry),
            .last = bytes_of(utm_devid_message{.result = -1})};
}

size_t entries_of(const bytes& request)
{
    uint32_t first = 0;
    uint32_t second = 0;
    memcpy(&first, request.data() + 8, sizeof first);
    memcpy(&second, request.data() + 12, sizeof second);
    if (request[0] == UTM_CF_GET_BROWSED_DOMAINS && request.size() == sizeof(utm_cf_config_event))
        return first;
    return request[0] == UTM_APP_GET_USAGE_BY_APP && request.size() == sizeof(utm_app_config_event) ? second : 0;
}

answer answer_config(const bytes& request)
{
    utm_event_response entry = {.status = UTM_RESPONSE_MORE};
    strcpy(entry.domain, "www.example.com");
    return {.entries = entries_of(request), .entry = bytes_of(entry), .last = bytes_of(utm_event_response{})};
}

answer answer_ips(const bytes&)
{
    return {.last = bytes_of(utm_ips_message{})};
}

answer answer_av(const bytes&)
{
    return {.last = bytes_of(utm_av_message{})};
}

answer answer_ir(const bytes&)
{
    return {.last = bytes_of(utm_ir_reply{})};
}

struct daemon {
    const char* path;
    answer (*reply)(const bytes& request);
    int type = SOCK_STREAM;
};

constexpr daemon daemons[] = {
    {UTM_CF_CONFIG_SOCKET, answer_config},      {UTM_APP_CONFIG_SOCKET, answer_config},
    {UTM_USER_PROFILE_SOCKET, answer_config},   {UTM_IPS_SOCKET, answer_ips},
    {UTM_DEVID_SOCKET, answer_devid},           {UTM_AV_SOCKET, answer_av},
    {UTM_IR_SOCKET, answer_ir, SOCK_SEQPACKET},
};

void serve(int client, const daemon& daemon)
{
    bytes request(4096);
    const ssize_t size = recv(client, request.data(), request.size(), 0);
    if (size <= 0)
        return;
    request.resize(static_cast<size_t>(size));
    const answer answer = daemon.reply(request);
    constexpr size_t at_once = 64;
    bytes batch;
    for (size_t i = 0; i < at_once; ++i)
        batch.insert(batch.end(), answer.entry.begin(), answer.entry.end());
    for (size_t left = answer.entries; left > 0;) {
        const size_t sent = std::min(left, at_once);
        if (send(client, batch.data(), sent * answer.entry.size(), MSG_NOSIGNAL) < 0)
            return;
        left -= sent;
    }
    if (send(client, answer.last.data(), answer.last.size(), MSG_NOSIGNAL) > 0)
        recv(client, request.data(), 1, 0); // until the client closes
}

int listen_at(const daemon& daemon)
{
    sockaddr_un address = {.sun_family = AF_UNIX};
    strcpy(address.sun_path, daemon.path);
    const int listener = socket(AF_UNIX, daemon.type | SOCK_CLOEXEC, 0);
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || listen(listener, 128) != 0) {
        perror(daemon.path);
        exit(EXIT_FAILURE);
    }
    return listener;
}

} // namespace

void start_daemons()
{
    for (const daemon& daemon : daemons) {
        const int listener = listen_at(daemon);
        if (fork() == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            for (;;) {
                const int client = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
                serve(client, daemon);
                close(client);
            }
        }
        close(listener);
    }
}

} // namespace bench
