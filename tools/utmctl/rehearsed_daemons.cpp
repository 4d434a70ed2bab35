#include "tools/utmctl/rehearsed_daemons.h"

#include "operations/daemons.h"
#include "operations/decode.h"
#include "operations/text.h"
#include "tools/utmctl/libc.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using operations::daemon_row;
using operations::record;

const daemon_row* daemon_at(const std::string& path)
{
    for (const daemon_row* one : operations::all_daemons) {
        if (path == one->path)
            return one;
    }
    return nullptr;
}

// The record that accepts a request, or ends the list that it asks for: a daemon whose entries carry a result of their
// own ends with 0, any other with -1.
record acceptance(const daemon_row& daemon, const operations::code_row* row)
{
    record reply(daemon.reply_size);
    const bool list = row != nullptr && row->form == operations::reply_form::list;
    if (list && daemon.more == 0)
        operations::put_number(reply, daemon.result.offset, daemon.result.size, UINT32_MAX);
    return reply;
}

json step_of(const daemon_row& daemon, uint32_t code, const operations::code_row* row, const record& request)
{
    return {{"step", "send"},
            {"daemon", daemon.name},
            {"code", code},
            {"name", operations::code_name(row, code)},
            {"size", request.size()},
            {"fields", operations::decode_request(row, request)},
            {"bytes", operations::hex_of(request)}};
}

} // namespace

// The client's descriptor becomes one end of a pair, so that waiting and receiving go on as ever.
int rehearsed_daemons::connect(int fd, const std::string& path)
{
    const daemon_row* daemon = daemon_at(path);
    int ends[2];
    if (daemon == nullptr) {
        errno = ECONNREFUSED;
        return -1;
    }
    if (socketpair(AF_UNIX, daemon->type | SOCK_CLOEXEC, 0, ends) != 0)
        return -1;
    dup3(ends[0], fd, O_CLOEXEC);
    ::close(ends[0]);
    forget(fd);
    open_[fd] = {daemon, ends[1]};
    return 0;
}

bool rehearsed_daemons::take(int fd, const void* data, size_t size)
{
    const auto found = open_.find(fd);
    if (found == open_.end())
        return false;
    const auto [daemon, peer] = found->second;
    const auto* first = static_cast<const uint8_t*>(data);
    const record request(first, first + size);
    const uint32_t code = operations::number_at(request, 0, daemon->code_width);
    const operations::code_row* row = operations::row_of(*daemon, code);
    add_(step_of(*daemon, code, row, request));
    const record reply = acceptance(*daemon, row);
    libc<ssize_t>("send", peer, reply.data(), reply.size(), MSG_NOSIGNAL);
    return true;
}

ssize_t rehearsed_daemons::send(int fd, const void* data, size_t size, int flags)
{
    return take(fd, data, size) ? static_cast<ssize_t>(size) : libc<ssize_t>("send", fd, data, size, flags);
}

ssize_t rehearsed_daemons::write(int fd, const void* data, size_t size)
{
    return take(fd, data, size) ? static_cast<ssize_t>(size) : libc<ssize_t>("write", fd, data, size);
}

void rehearsed_daemons::forget(int fd)
{
    const auto found = open_.find(fd);
    if (found == open_.end())
        return;
    ::close(found->second.peer);
    open_.erase(found);
}
