#pragma once

#include "sim/scripted_daemon.h"
#include "tests/sandbox/bytes.h"

#include <string>
#include <utility>
#include <vector>

// The four engines' daemons, as scripts, and what utmctl says of them.

struct engine {
    const char* path;
    const char* name;
    int type;
    size_t request_size;
    size_t reply_size;
    size_t result_offset;
};

inline constexpr engine ips = {"/tmp/utm_ips", "the IPS daemon (/tmp/utm_ips)", SOCK_STREAM, 316, 316, 312};
inline constexpr engine devid = {
    "/tmp/utm_devid", "the device-identification daemon (/tmp/utm_devid)", SOCK_STREAM, 392, 392, 384};
inline constexpr engine av = {"/tmp/utm_av", "the anti-virus daemon (/tmp/utm_av)", SOCK_STREAM, 96, 96, 92};
inline constexpr engine ir = {"/tmp/utm_ir", "the IR daemon (/tmp/utm_ir)", SOCK_SEQPACKET, 132, 16, 0};

inline sim::bytes request_to(const engine& one, const std::vector<std::pair<size_t, uint32_t>>& numbers,
                             size_t text_offset = 0, const std::string& text = "")
{
    sim::bytes record(one.request_size);
    for (const auto& [offset, number] : numbers)
        put_u32(record, offset, number);
    put_text(record, text_offset, text);
    return record;
}

// All else is rubbish, as nothing else may be read from it.
inline sim::bytes reply_of(const engine& one, uint32_t result)
{
    sim::bytes record(one.reply_size, 0xa5);
    put_u32(record, one.result_offset, result);
    return record;
}

inline constexpr uint32_t minus_one = UINT32_MAX;

// A daemon that follows the script on every connection.
class engine_daemon : public sim::scripted_daemon {
public:
    engine_daemon(const engine& one, sim::script script)
        : scripted_daemon(one.path, std::move(script), nullptr, one.type)
    {
    }
};

// Takes a request and sends these records, each in one piece.
inline sim::script send_records(const std::vector<sim::bytes>& replies)
{
    sim::script script = {sim::receive()};
    for (const sim::bytes& record : replies)
        script.push_back(sim::send(record));
    script.push_back(sim::await_close());
    return script;
}

// Answers two requests on one connection, as many as an operation sends at most.
inline sim::script answer_with(const sim::bytes& reply)
{
    return {sim::receive(), sim::send(reply), sim::receive(), sim::send(reply)};
}

// How a command fails, in the order of utmctl's exit status.
struct engine_failure {
    const char* name;
    int status;
    const char* word;
    const char* cause;
    const char* next;         // {} stands for the daemon
    const char* options = ""; // that the command needs to fail so
};

inline constexpr engine_failure refusal = {"refused", 1, "refused", "refused", "the daemon's own log tells the reason"};
inline constexpr engine_failure overdue = {"overdue",
                                           3,
                                           "no-answer",
                                           "did not answer within 0.05 s, and the call was ended",
                                           "find out why {} hangs, or start it again; --timeout sets a longer limit",
                                           "--timeout 0.05 "};
inline constexpr engine_failure absent_daemon = {
    "absent", 4, "unreachable", "cannot be reached: No such file or directory", "start {}, then run the command again"};
inline constexpr engine_failure closed = {"closed", 7, "protocol-error", "ended the connection without an answer",
                                          "find out why {} breaks off, or start it again, then run the command again"};
inline constexpr engine_failure short_reply = {
    "short_reply", 7, "protocol-error", "answered with a record of the wrong size",
    "check that {} and the library are of one version, then run the command again"};

inline std::string next_after(const engine_failure& how, const engine& daemon)
{
    const std::string name = daemon.name;
    std::string next = how.next;
    const size_t at = next.find("{}");
    return at == std::string::npos ? next : next.replace(at, 2, name.substr(0, name.find(" (")));
}
