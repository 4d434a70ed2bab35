#pragma once

#include "tests/sandbox/bytes.h"
#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <functional>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

// The four engine daemons as scripts, what they reply, and the logs of their clients.

inline constexpr char ips_path[] = "/tmp/utm_ips";
inline constexpr char devid_path[] = "/tmp/utm_devid";
inline constexpr char av_path[] = "/tmp/utm_av";
inline constexpr char ir_path[] = "/tmp/utm_ir";

// A reply with this result. All else is rubbish, as nothing else may be read from it.
inline sim::bytes reply_with(size_t size, size_t offset, int32_t result)
{
    sim::bytes record(size, 0xa5);
    put_u32(record, offset, static_cast<uint32_t>(result));
    return record;
}

inline sim::bytes ips_reply(int32_t result)
{
    return reply_with(316, 312, result);
}

inline sim::bytes devid_reply(int32_t result)
{
    return reply_with(392, 384, result);
}

inline sim::bytes av_reply(int32_t status)
{
    return reply_with(96, 92, status);
}

inline sim::bytes ir_reply(int32_t status)
{
    return reply_with(16, 0, status);
}

inline sim::bytes first_bytes(sim::bytes record, size_t count)
{
    record.resize(count);
    return record;
}

inline int socket_type_of(const std::string& path)
{
    return path == ir_path ? SOCK_SEQPACKET : SOCK_STREAM;
}

// The daemon of the engine at this path.
class engine_daemon : public sim::scripted_daemon {
public:
    engine_daemon(const char* path, const sim::script& script)
        : scripted_daemon(path, script, nullptr, socket_type_of(path))
    {
    }
    // Takes each request, and sends these records.
    engine_daemon(const char* path, const records& replies) : engine_daemon(path, answer(replies)) {}
};

// Listens, and accepts nobody; hangs up and dies when it is told to.
class deaf_daemon {
public:
    explicit deaf_daemon(const char* path, int backlog = 3)
        : listener_(socket(AF_UNIX, socket_type_of(path) | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address = {.sun_family = AF_UNIX};
        strncpy(address.sun_path, path, sizeof address.sun_path - 1);
        EXPECT_EQ(bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(listen(listener_, backlog), 0);
    }
    deaf_daemon(const deaf_daemon&) = delete;
    deaf_daemon& operator=(const deaf_daemon&) = delete;
    ~deaf_daemon() { die(); }

    // Accepts a client, and leaves it at once.
    void hang_up() const { close(accept(listener_, nullptr, nullptr)); }

    void die()
    {
        if (listener_ >= 0)
            close(listener_);
        listener_ = -1;
    }

private:
    int listener_;
};

// A log of the shape "operation(line) text", with # for each line number.
inline std::string log_without_numbers(const std::string& path)
{
    return std::regex_replace(content_of(path), std::regex("(^|\n)(\\w+)\\([0-9]+\\) "), "$1$2(#) ");
}

inline std::string ips_log()
{
    return log_without_numbers("/tmp/utm_log/utm_libips_log");
}

inline std::string devid_log()
{
    return log_without_numbers("/tmp/utm_log/utm_libdevid_log");
}

// The line that an operation writes into such a log.
inline std::string line_of(const std::string& operation, const std::string& text)
{
    return operation + "(#) " + text + "\n";
}

// Makes an operation fail for want of a daemon, take this reply, and fail at each of these calls of libc.
inline void fail_in_each_way(const std::function<void()>& operation, const char* path, const records& replies,
                             const std::vector<std::string>& failing_calls)
{
    unlink(path);
    operation();
    engine_daemon daemon(path, replies);
    operation();
    for (const std::string& call : failing_calls) {
        wrap::plan plan;
        plan.fail(call, 1, EIO);
        operation();
    }
}

// Each message of an operation has a line number of its own, the same on every call. log_each makes it write them all.
inline void expect_line_numbers_of_their_own(const std::string& log, const std::string& operation, size_t messages,
                                             const std::function<void()>& log_each)
{
    const auto log_anew = [&] {
        unlink(log.c_str());
        log_each();
        return content_of(log);
    };
    const std::string lines = log_anew();
    EXPECT_EQ(log_anew(), lines);
    const std::regex number("(^|\n)" + operation + "\\(([0-9]+)\\) ");
    std::multiset<std::string> numbers;
    for (std::sregex_iterator at(lines.begin(), lines.end(), number); at != std::sregex_iterator(); ++at)
        numbers.insert((*at)[2]);
    EXPECT_EQ(numbers.size(), messages) << lines;
    EXPECT_EQ(std::set<std::string>(numbers.begin(), numbers.end()).size(), messages) << lines;
}

// The nodes behind a head, as steps along next; checks that prev leads back.
template <class Node> std::vector<Node*> nodes_of(Node* head)
{
    std::vector<Node*> nodes;
    EXPECT_EQ(head->prev->next, head);
    for (Node* at = head->next; at != head; at = at->next) {
        EXPECT_EQ(at->prev->next, at);
        EXPECT_EQ(at->next->prev, at);
        nodes.push_back(at);
    }
    return nodes;
}

// Releases a list as its receiver does, where the family has no release of its own.
template <class Node> void free_list(Node* head)
{
    for (Node* node : nodes_of(head))
        free(node);
    free(head);
}
