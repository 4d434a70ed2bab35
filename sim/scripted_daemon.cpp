#include "sim/scripted_daemon.h"

#include "sim/failure.h"

#include <algorithm>
#include <iterator>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace sim {

namespace {

constexpr size_t largest_request = 65536;
constexpr int backlog = 128;

int listen_at(const std::string& path, int type)
{
    sockaddr_un address = {.sun_family = AF_UNIX};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    unlink(path.c_str());
    int listener = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    if (listener < 0 || bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener, backlog) != 0)
        fail("cannot listen at " + path);
    return listener;
}

// Waits until fd is ready or the daemon is stopped. True: fd is ready.
bool wait_for(int fd, short events, int stop, int milliseconds = -1)
{
    pollfd both[] = {{.fd = fd, .events = events}, {.fd = stop, .events = POLLIN}};
    while (poll(both, std::size(both), milliseconds) < 0 && errno == EINTR) {
    }
    return both[1].revents == 0 && both[0].revents != 0;
}

} // namespace

size_t journal::enter(const std::string& path)
{
    std::lock_guard lock(mutex_);
    visits_.push_back({path, {}});
    return visits_.size() - 1;
}

void journal::add(size_t visit, const bytes& received)
{
    std::lock_guard lock(mutex_);
    bytes& request = visits_[visit].request;
    request.insert(request.end(), received.begin(), received.end());
}

std::vector<visit> journal::visits() const
{
    std::lock_guard lock(mutex_);
    return visits_;
}

conversation::conversation(int connection, int stop, journal& journal, size_t visit)
    : connection_(connection), stop_(stop), journal_(journal), visit_(visit)
{
}

bool conversation::wait(short events) const
{
    return wait_for(connection_, events, stop_);
}

void conversation::receive() const
{
    if (!wait(POLLIN))
        return;
    bytes buffer(largest_request);
    ssize_t size = recv(connection_, buffer.data(), buffer.size(), 0);
    buffer.resize(size < 0 ? 0 : static_cast<size_t>(size));
    journal_.add(visit_, buffer);
}

void conversation::send(const bytes& data) const
{
    for (size_t sent = 0; sent < data.size();) {
        if (!wait(POLLOUT))
            return;
        ssize_t size = ::send(connection_, data.data() + sent, data.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (size < 0)
            return;
        sent += static_cast<size_t>(size);
    }
}

void conversation::pause(std::chrono::milliseconds time) const
{
    wait_for(-1, 0, stop_, static_cast<int>(time.count()));
}

void conversation::await_close() const
{
    wait(POLLRDHUP);
}

step receive()
{
    return [](const conversation& client) { client.receive(); };
}

step send(bytes data)
{
    return [data = std::move(data)](const conversation& client) { client.send(data); };
}

step pause(std::chrono::milliseconds time)
{
    return [time](const conversation& client) { client.pause(time); };
}

step await_close()
{
    return [](const conversation& client) { client.await_close(); };
}

scripted_daemon::scripted_daemon(std::string path, std::vector<script> scripts, journal* shared, int type)
    : path_(std::move(path)), scripts_(std::move(scripts)), journal_(shared != nullptr ? *shared : own_),
      stop_(eventfd(0, EFD_CLOEXEC)), listener_(listen_at(path_, type)), thread_(&scripted_daemon::serve, this)
{
}

scripted_daemon::scripted_daemon(std::string path, script all, journal* shared, int type)
    : scripted_daemon(std::move(path), std::vector<script>{std::move(all)}, shared, type)
{
}

scripted_daemon::~scripted_daemon()
{
    eventfd_write(stop_, 1);
    thread_.join();
    close(listener_);
    close(stop_);
    unlink(path_.c_str());
}

std::vector<bytes> scripted_daemon::requests() const
{
    std::vector<bytes> requests;
    for (const visit& visit : journal_.visits()) {
        if (visit.path == path_)
            requests.push_back(visit.request);
    }
    return requests;
}

void scripted_daemon::serve()
{
    for (size_t next = 0; wait_for(listener_, POLLIN, stop_); next++) {
        int connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0)
            continue;
        const conversation client(connection, stop_, journal_, journal_.enter(path_));
        for (const step& take : scripts_[std::min(next, scripts_.size() - 1)])
            take(client);
        close(connection);
    }
}

} // namespace sim
