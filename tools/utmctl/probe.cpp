#include "tools/utmctl/probe.h"

#include "tools/utmctl/descriptor.h"
#include "tools/utmctl/process_name.h"
#include "tools/utmctl/rehearsal.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>
#include <future>
#include <iterator>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>

namespace {

using clock_type = std::chrono::steady_clock;
using milliseconds = std::chrono::duration<double, std::milli>;

constexpr double seconds_for_a_connection = 0.1; // which the kernel takes at once, while its queue has room

timeval limit_of(double seconds)
{
    const auto microseconds = static_cast<long>(std::ceil(std::max(seconds, 0.0) * 1e6));
    const long at_least_one = std::max(microseconds, 1L); // none would be no limit
    return {.tv_sec = at_least_one / 1000000, .tv_usec = at_least_one % 1000000};
}

void limit(int fd, double seconds)
{
    const timeval time = limit_of(seconds);
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &time, sizeof time);
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
}

bool connect_to(int fd, const char* path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    strncpy(address.sun_path, path, sizeof address.sun_path - 1);
    return connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

int process_behind(int fd)
{
    ucred peer = {};
    socklen_t size = sizeof peer;
    return getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 ? peer.pid : 0;
}

// A limit that is reached ends a call with EAGAIN.
int error_now()
{
    return errno == EAGAIN ? ETIMEDOUT : errno;
}

int receive(int fd, operations::record& reply)
{
    const ssize_t size = recv(fd, reply.data(), reply.size(), 0);
    if (size < 0)
        return error_now();
    if (size == 0)
        return ENODATA;
    return static_cast<size_t>(size) == reply.size() ? 0 : EPROTO;
}

bool announces_another(const operations::daemon_row& daemon, const operations::record& reply)
{
    return daemon.more != 0 && operations::number_at(reply, daemon.result.offset, daemon.result.size) == daemon.more;
}

// The whole answer, of which the last record is kept: a daemon may not bear that its client goes early. A list that
// still comes when the time is up will not end.
int receive_all(int fd, const operations::daemon_row& daemon, clock_type::time_point end, operations::record& reply)
{
    do {
        const int error = receive(fd, reply);
        if (error != 0 || !announces_another(daemon, reply))
            return error;
    } while (clock_type::now() <= end);
    return EOVERFLOW;
}

// How the exchange failed: 0 when it did not.
int talk(int fd, const operations::daemon_row& daemon, const operations::record& request, clock_type::time_point end,
         probe& seen)
{
    if (fd < 0 || !connect_to(fd, daemon.path))
        return error_now();
    seen.process = process_behind(fd);
    if (request.empty())
        return 0;
    if (send(fd, request.data(), request.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(request.size()))
        return error_now();
    seen.reply.resize(daemon.reply_size);
    return receive_all(fd, daemon, end, seen.reply);
}

// The kernel takes connections for a stopped process, too.
void judge_connection(probe& seen)
{
    if (!seen.is_stopped())
        return;
    seen.error = ETIMEDOUT;
    seen.failed = {exit_status::no_answer, "takes connections, but does not answer", ""};
}

} // namespace

bool probe::is_stopped() const
{
    return process > 0 && state_of_process(process) == process_state::stopped;
}

probe exchange_with(const operations::daemon_row& daemon, const operations::record& request, double seconds)
{
    const auto start = clock_type::now();
    const descriptor fd(socket(AF_UNIX, daemon.type | SOCK_CLOEXEC, 0));
    limit(fd.get(), seconds);
    probe seen;
    const auto end = start + std::chrono::duration_cast<clock_type::duration>(std::chrono::duration<double>(seconds));
    seen.error = talk(fd.get(), daemon, request, end, seen);
    if (seen.error != 0)
        seen.failed = exchange_failure(seen.error);
    else if (request.empty())
        judge_connection(seen);
    if (!seen.works())
        seen.failed.cause += told_of_process(seen.process);
    seen.milliseconds = milliseconds(clock_type::now() - start).count();
    return seen;
}

probe look_at(const watched_daemon& daemon, double seconds)
{
    operations::record request;
    if (daemon.harmless) {
        request.resize(daemon.row.request_size);
        operations::put_number(request, 0, daemon.row.code_width, *daemon.harmless);
    }
    return exchange_with(daemon.row, request, seconds);
}

std::vector<probe> look_at_all(const std::vector<const watched_daemon*>& daemons,
                               const std::function<probe(const watched_daemon&)>& look)
{
    // A rehearsal takes one step after the other.
    const auto policy = rehearsal::current() == nullptr ? std::launch::async : std::launch::deferred;
    std::vector<std::future<probe>> looks;
    for (const watched_daemon* one : daemons)
        looks.push_back(std::async(policy, [one, &look] { return look(*one); }));
    std::vector<probe> seen;
    for (auto& one : looks)
        seen.push_back(one.get());
    return seen;
}

int stopped_process_of(const service& who)
{
    const auto* daemon = std::find_if(std::begin(watched_daemons), std::end(watched_daemons),
                                      [&](const auto& one) { return one.who.socket == std::string_view(who.socket); });
    if (daemon == std::end(watched_daemons))
        return 0;
    const probe seen = exchange_with(daemon->row, {}, seconds_for_a_connection);
    return seen.is_stopped() ? seen.process : 0;
}

void look_for_stopped_process(failed_exchange& failed, const service& who)
{
    if (failed.status != exit_status::no_answer)
        return;
    failed.stopped = stopped_process_of(who);
    failed.cause += told_of_process(failed.stopped);
}

std::string told_of_process(int process)
{
    switch (process > 0 ? state_of_process(process) : process_state::alive) {
    case process_state::stopped:
        return ": " + name_of_process(process) + " is stopped";
    case process_state::ended:
        return ": " + name_of_process(process) + ", which made its socket, has ended";
    case process_state::alive:
        return "";
    }
    return "";
}

std::vector<const watched_daemon*> all_watched()
{
    std::vector<const watched_daemon*> all;
    for (const watched_daemon& one : watched_daemons)
        all.push_back(&one);
    return all;
}

std::string names_of_daemons()
{
    std::string names;
    for (const watched_daemon& one : watched_daemons)
        names += (names.empty() ? "" : ", ") + std::string(one.row.name);
    return names;
}
