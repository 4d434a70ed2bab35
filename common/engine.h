#pragma once

#include "common/local_socket.h"
#include "common/unique_fd.h"

#include <cstdint>
#include <cstring>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/types.h>

// The engine clients' channel: one request on a fresh connection to the engine's local socket, and its replies.
struct engine {
    sockaddr_un address;
    const char* log = nullptr; // of the family; null: it has none
    int type;                  // of the socket
    int receive_limit = 0;     // in seconds; 0: none
    int send_limit = 0;        // the same, of connecting too
    bool no_signal = false;    // sends with MSG_NOSIGNAL; the others have a guard against SIGPIPE
};

// How far a connection got.
enum class dial_step {
    socket, // failed here, and so on
    receive_limit,
    send_limit,
    connect,
    connected
};

struct dialled {
    unique_fd fd; // negative unless connected
    dial_step reached;
};

inline unique_fd open_socket(const engine& engine)
{
    return unique_fd(socket(AF_UNIX, engine.type | SOCK_CLOEXEC, 0));
}

inline bool set_limit(const unique_fd& fd, int option, int seconds)
{
    if (seconds == 0)
        return true;
    const timeval limit = {.tv_sec = seconds, .tv_usec = 0};
    return setsockopt(fd.get(), SOL_SOCKET, option, &limit, sizeof limit) == 0;
}

// connect or bind, with the whole record whatever the length of the path.
template <class Call> bool at_address(Call call, const unique_fd& fd, const engine& engine)
{
    return call(fd.get(), reinterpret_cast<const sockaddr*>(&engine.address), sizeof engine.address) == 0;
}

// A time limit that has passed reads as EAGAIN from the kernel, and as ETIMEDOUT from the library.
inline void tell_time_out()
{
    if (errno == EAGAIN)
        errno = ETIMEDOUT;
}

inline dialled give_up(dial_step step)
{
    return {unique_fd(-1), step};
}

// Connects in one attempt. Logs nothing; errno tells the cause. Inline, like all that a success takes: each engine is
// known when the library is compiled, and so is what is left of this for it.
inline dialled dial(const engine& engine)
{
    unique_fd fd = open_socket(engine);
    if (fd.get() < 0)
        return give_up(dial_step::socket);
    if (!set_limit(fd, SO_RCVTIMEO, engine.receive_limit))
        return give_up(dial_step::receive_limit);
    if (!set_limit(fd, SO_SNDTIMEO, engine.send_limit))
        return give_up(dial_step::send_limit);
    if (!at_address(connect, fd, engine)) {
        tell_time_out();
        return give_up(dial_step::connect);
    }
    return {static_cast<unique_fd&&>(fd), dial_step::connected};
}

// Opens the listening socket of an engine's daemon, in place of whatever file is at its path. Returns a descriptor or
// -1, with its failures in the engine's log, if it has one, under the name of the operation.
int listen_at(const engine& engine, const char* operation);

// Writes the operation's name, the line of the call, and a text to the engine's log.
void log_at_line(const engine& engine, const char* operation, const char* text, int line = __builtin_LINE());

// One send of the record; what the daemon does not take is not sent again. False: failed, with ETIMEDOUT after the time
// limit.
template <class Record> bool send_record(const engine& engine, const unique_fd& to, const Record& record)
{
    const ssize_t sent = engine.no_signal ? send(to.get(), &record, sizeof record, MSG_NOSIGNAL)
                                          : send_without_sigpipe(to.get(), &record, sizeof record);
    if (sent >= 0)
        return true;
    tell_time_out();
    return false;
}

// Puts into errno why a receive brought less than a record, of which it brought so much. Returns how many bytes came.
size_t tell_shortfall(ssize_t size);

// Receives one record, in one piece. Its result reads as unanswered, and what did not come as zero, unless the whole
// record came. Returns the number of bytes, or a negative value. errno is ETIMEDOUT after the time limit, and otherwise
// what a failure to use the record means: nothing came (ENODATA), it is too short (EPROTO), or the daemon refused
// (EREMOTEIO).
template <class Record, class Result>
ssize_t receive_record(const unique_fd& from, Record& record, Result Record::*result, Result unanswered)
{
    const ssize_t size = recv(from.get(), &record, sizeof record, 0);
    if (size == static_cast<ssize_t>(sizeof record)) {
        errno = EREMOTEIO;
        return size;
    }
    const size_t arrived = tell_shortfall(size);
    memset(reinterpret_cast<char*>(&record) + arrived, 0, sizeof record - arrived);
    record.*result = unanswered;
    return size;
}
