#include "sim/control.h"

#include "sim/failure.h"

#include <exception>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace sim {

namespace {

constexpr char folder[] = "/run/utm-gateway";
constexpr timeval patience = {.tv_sec = 5, .tv_usec = 0};

class owned_fd {
public:
    explicit owned_fd(int fd) : fd_(fd) {}
    owned_fd(const owned_fd&) = delete;
    owned_fd& operator=(const owned_fd&) = delete;
    ~owned_fd() { close(fd_); }
    int get() const { return fd_; }

private:
    int fd_;
};

sockaddr_un address_of(const std::string& name)
{
    sockaddr_un address = {.sun_family = AF_UNIX};
    control_path(name).copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

bool dial(int fd, const std::string& name)
{
    const sockaddr_un address = address_of(name);
    return connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

// False where the other side breaks off or takes too long.
bool receive_text(int fd, std::string& text)
{
    char piece[4096];
    for (;;) {
        ssize_t size = recv(fd, piece, sizeof piece, 0);
        if (size <= 0)
            return size == 0;
        text.append(piece, static_cast<size_t>(size));
    }
}

void send_text(int fd, const std::string& text)
{
    for (size_t sent = 0; sent < text.size();) {
        ssize_t size = send(fd, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (size < 0)
            return;
        sent += static_cast<size_t>(size);
    }
    shutdown(fd, SHUT_WR);
}

void limit_wait(int fd)
{
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
}

json outcome(const std::string& request, const std::function<json(const json&)>& handle)
{
    try {
        return {{"result", handle(json::parse(request))}};
    } catch (const std::exception& error) {
        return {{"error", error.what()}};
    }
}

} // namespace

std::string control_path(const std::string& name)
{
    return std::string(folder) + "/" + name;
}

int listen_for_control(const std::string& name)
{
    mkdir(folder, 0755);
    unlink(control_path(name).c_str());
    const sockaddr_un address = address_of(name);
    int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listener < 0 || bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener, SOMAXCONN) != 0)
        fail("cannot listen at " + control_path(name));
    return listener;
}

void answer_control(int listener, const std::function<json(const json&)>& handle)
{
    const owned_fd connection(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
    if (connection.get() < 0)
        return;
    limit_wait(connection.get());
    std::string request;
    if (receive_text(connection.get(), request) && !request.empty())
        send_text(connection.get(), outcome(request, handle).dump(-1, ' ', false, json::error_handler_t::replace));
}

bool is_controlled(const std::string& name)
{
    const owned_fd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    return dial(fd.get(), name);
}

json ask(const std::string& name, const json& request)
{
    const owned_fd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    limit_wait(fd.get());
    if (!dial(fd.get(), name))
        throw std::runtime_error(name + " does not run here");
    send_text(fd.get(), request.dump());
    std::string text;
    if (!receive_text(fd.get(), text) || text.empty())
        throw std::runtime_error(name + " does not answer");
    json answer = json::parse(text);
    if (answer.contains("error"))
        throw std::runtime_error(answer["error"].get<std::string>());
    return answer["result"];
}

} // namespace sim
