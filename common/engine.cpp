#include "common/engine.h"

#include "common/log.h"

#include <sys/stat.h>

namespace {

constexpr int backlog = 3;
constexpr mode_t everyone = 0777;

int refuse_to_listen(const engine& engine, const char* text)
{
    if (engine.log != nullptr)
        utm_log(engine.log, text, engine.address.sun_path, error_text(errno).c_str());
    return -1;
}

} // namespace

int listen_at(const engine& engine, const char* operation)
{
    unlink(engine.address.sun_path);
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
    if (!at_address(bind, fd, engine))
        return refuse_to_listen(engine, "Can't bind unix address: %s(%s)\n");
    listen(fd.get(), backlog);
    chmod(engine.address.sun_path, everyone);
    return fd.release();
}

void log_at_line(const engine& engine, const char* operation, const char* text, int line)
{
    if (engine.log != nullptr)
        utm_log(engine.log, "%s(%d) %s", operation, line, text);
}

size_t tell_shortfall(ssize_t size)
{
    if (size < 0)
        tell_time_out();
    else
        errno = size == 0 ? ENODATA : EPROTO;
    return size < 0 ? 0 : static_cast<size_t>(size);
}
