#pragma once

#include "common/unique_fd.h"

#include <cstdint>
#include <cstring>
#include <sys/socket.h>
#include <sys/types.h>

// The engine clients' channel: one request on a fresh connection to the engine's local socket, and its replies.
struct engine {
    const char* path;
    const char* log = nullptr; // of the family; null: it has none
    int type;                  // of the socket
    int receive_limit = 0;     // in seconds; 0: none
    int send_limit = 0;        // the same, of connecting too
    int send_flags = 0;        // a peer that has closed never raises SIGPIPE, with or without MSG_NOSIGNAL
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

// Connects in one attempt. Logs nothing; errno tells the cause.
dialled dial(const engine& engine);

// Opens the listening socket of an engine's daemon, in place of whatever file is at its path. Returns a descriptor or
// -1, with its failures in the engine's log, if it has one, under the name of the operation.
int listen_at(const engine& engine, const char* operation);

// Writes the operation's name, the line of the call, and a text to the engine's log.
void log_at_line(const engine& engine, const char* operation, const char* text, int line = __builtin_LINE());

// One send of all the bytes; what the daemon does not take is not sent again. False: failed, with ETIMEDOUT after the
// time limit.
bool send_once(const engine& engine, int to, const void* data, size_t size);

template <class Record> bool send_record(const engine& engine, const unique_fd& to, const Record& record)
{
    return send_once(engine, to.get(), &record, sizeof record);
}

// One receive of up to size bytes. Where that fails, errno is ETIMEDOUT after the time limit. Otherwise it holds what a
// failure to use the bytes means: nothing came (ENODATA), they are too few (EPROTO), or the daemon refused (EREMOTEIO).
ssize_t receive_once(int from, void* data, size_t size);

// Zeroes what a record that came in part did not bring.
template <class Record> void clear_from(Record& record, size_t size)
{
    memset(reinterpret_cast<char*>(&record) + size, 0, sizeof record - size);
}

// Receives one record, in one piece. Its result reads as unanswered unless the whole record came. Returns the number of
// bytes, or a negative value.
template <class Record, class Result>
ssize_t receive_record(const unique_fd& from, Record& record, Result Record::*result, Result unanswered)
{
    const ssize_t size = receive_once(from.get(), &record, sizeof record);
    if (size < static_cast<ssize_t>(sizeof record)) {
        clear_from(record, size < 0 ? 0 : static_cast<size_t>(size));
        record.*result = unanswered;
    }
    return size;
}
