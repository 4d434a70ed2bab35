#include "common/engine.h"

#include "common/local_socket.h"
#include "common/log.h"

#include <sys/stat.h>

namespace {

constexpr int backlog = 3;
constexpr mode_t everyone = 0777;

unique_fd open_socket(const engine& engine)
{
    return unique_fd(socket(AF_UNIX, engine.type | SOCK_CLOEXEC, 0));
}

bool set_limit(const unique_fd& fd, int option, int seconds)
{
    if (seconds == 0)
        return true;
    const timeval limit = {.tv_sec = seconds, .tv_usec = 0};
    return setsockopt(fd.get(), SOL_SOCKET, option, &limit, sizeof limit) == 0;
}

// connect or bind, with the whole record whatever the length of the path.
template <class Call> bool at_address(Call call, const unique_fd& fd, const char* path)
{
    const sockaddr_un address = local_address(path);
    return call(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

dialled give_up(dial_step step)
{
    return {unique_fd(-1), step};
}

// A time limit that has passed reads as EAGAIN from the kernel, and as ETIMEDOUT from the library.
void tell_time_out()
{
    if (errno == EAGAIN)
        errno = ETIMEDOUT;
}

int refuse_to_listen(const engine& engine, const char* text)
{
    if (engine.log != nullptr)
        utm_log(engine.log, text, engine.path, error_text(errno).c_str());
    return -1;
}

} // namespace

dialled dial(const engine& engine)
{
    unique_fd fd = open_socket(engine);
    if (fd.get() < 0)
        return give_up(dial_step::socket);
    if (!set_limit(fd, SO_RCVTIMEO, engine.receive_limit))
        return give_up(dial_step::receive_limit);
    if (!set_limit(fd, SO_SNDTIMEO, engine.send_limit))
        return give_up(dial_step::send_limit);
    if (!at_address(connect, fd, engine.path)) {
        tell_time_out();
        return give_up(dial_step::connect);
    }
    return {static_cast<unique_fd&&>(fd), dial_step::connected};
}

bool send_once(const engine& engine, int to, const void* data, size_t size)
{
    ssize_t sent = (engine.send_flags & MSG_NOSIGNAL) != 0 ? send(to, data, size, engine.send_flags)
                                                           : send_without_sigpipe(to, data, size);
    if (sent < 0)
        tell_time_out();
    return sent >= 0;
}

int listen_at(const engine& engine, const char* operation)
{
    unlink(engine.path);
    unique_fd fd = open_socket(engine);
    const int socket_error = errno;
    // Deliberate: a server socket that cannot be created goes on to its options, which then fail and say so too.
    if (fd.get() < 0)
        log_at_line(engine, operation, "Could not create socket\n");
    const int reuse = 1;
    if (setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse) != 0) {
        refuse_to_listen(engine, "Can't set unix socket options: %s(%s)\n");
        return fail(fd.get() < 0 ? socket_error : errno);
    }
    if (!at_address(bind, fd, engine.path))
        return refuse_to_listen(engine, "Can't bind unix address: %s(%s)\n");
    listen(fd.get(), backlog);
    chmod(engine.path, everyone);
    return fd.release();
}

void log_at_line(const engine& engine, const char* operation, const char* text, int line)
{
    if (engine.log != nullptr)
        utm_log(engine.log, "%s(%d) %s", operation, line, text);
}

ssize_t receive_once(int from, void* data, size_t size)
{
    ssize_t received = recv(from, data, size, 0);
    if (received < 0)
        tell_time_out();
    else if (received == 0)
        errno = ENODATA;
    else
        errno = static_cast<size_t>(received) < size ? EPROTO : EREMOTEIO;
    return received;
}
