#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <vector>

// A daemon that does what a script tells, byte by byte: the library's peer in tests. Needs no namespaces of its own.
namespace sim {

using bytes = std::vector<uint8_t>;

// One connection that a daemon accepted, and what it read from it.
struct visit {
    std::string path;
    bytes request;
};

// The connections of one or more daemons, in the order in which they were accepted.
class journal {
public:
    size_t enter(const std::string& path);
    void add(size_t visit, const bytes& received);
    std::vector<visit> visits() const;

private:
    mutable std::mutex mutex_;
    std::vector<visit> visits_;
};

// A connection as the steps of a script see it. Every wait ends when the daemon is stopped.
class conversation {
public:
    conversation(int connection, int stop, journal& journal, size_t visit);

    void receive() const;
    void send(const bytes& data) const;
    void pause(std::chrono::milliseconds time) const;
    void await_close() const;

private:
    bool wait(short events) const;

    int connection_;
    int stop_;
    journal& journal_;
    size_t visit_;
};

// What a daemon does on one connection; at the end of its script it closes. Any function of the test's own is a step
// too. Closing what has not been received resets the connection.
using step = std::function<void(const conversation&)>;
using script = std::vector<step>;

step receive();                             // what the client has written, in one piece
step send(bytes data);                      // all of it, as far as the client takes it
step pause(std::chrono::milliseconds time); // does nothing for so long
step await_close();                         // until the client has closed its end

class scripted_daemon {
public:
    // Listens at path when it returns. The nth connection follows the nth script, all further ones the last.
    scripted_daemon(std::string path, std::vector<script> scripts, journal* shared = nullptr, int type = SOCK_STREAM);
    scripted_daemon(std::string path, script all, journal* shared = nullptr, int type = SOCK_STREAM);
    scripted_daemon(const scripted_daemon&) = delete;
    scripted_daemon& operator=(const scripted_daemon&) = delete;
    ~scripted_daemon();

    // What each connection brought, in order.
    std::vector<bytes> requests() const;

private:
    void serve();

    const std::string path_;
    const std::vector<script> scripts_;
    journal own_;
    journal& journal_;
    int stop_;
    int listener_;
    std::thread thread_;
};

} // namespace sim
