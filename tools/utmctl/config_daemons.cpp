#include "tools/utmctl/config_daemons.h"

#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr int connect_attempts = 22; // of one exchange, each of them a line

// How the transport's lines begin, behind its name. The rest of a line, if any, is the cause.
struct log_text {
    const char* text;
    int error; // that stands for it, where the rest of the line names no other
    const char* cause;
};

constexpr log_text log_texts[] = {
    {"create socket fail: ", EMFILE, "cannot be reached: "},
    {"connect fail: ", ENOENT, "cannot be reached: "},
    {"write data fail: ", EPIPE, "did not take the request: "},
    {"select() error, error: ", EPROTO, "could not be waited for: "},
    {"select() timeout", ETIMEDOUT, "did not answer in time"},
    {"read response fail", EPROTO, "ended the connection or answered with a record of the wrong size"},
    {"error code = ", EREMOTEIO, "refused with error code "},
};

constexpr std::string_view transports[] = {"[send_utm_config_event]", "[send_utm_event_and_get_response]"};
constexpr std::string_view connect_failed = "[send_utm_config_event]connect fail: "; // the other connects once

// What the transport itself wrote, if it did. Traces of list entries, which end in no newline, may stand before it.
std::optional<std::string_view> transport_text(std::string_view line)
{
    for (const std::string_view transport : transports) {
        const size_t at = line.rfind(transport);
        if (at != std::string_view::npos)
            return line.substr(at + transport.size());
    }
    return {};
}

// A line names an error by its text, of which these want a remedy of their own.
int error_named(std::string_view text, int usual)
{
    for (const int error : {ECONNREFUSED, EPROTOTYPE, EACCES, ECONNRESET}) {
        if (text == strerror(error))
            return error;
    }
    return usual;
}

failed_exchange from_text(std::string_view text)
{
    for (const log_text& row : log_texts) {
        if (!text.starts_with(row.text))
            continue;
        const std::string rest(text.substr(strlen(row.text)));
        const int error = error_named(rest, row.error);
        return {exchange_failure(row.error).status, row.cause + rest, "", error};
    }
    return {exit_status::protocol_error, std::string(text), "", EPROTO};
}

} // namespace

int connect_error(const config_daemon& daemon)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    strncpy(address.sun_path, daemon.socket, sizeof address.sun_path - 1);
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    // A full queue of connections is a daemon that is slow, but there.
    const int failed = connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    const int error = failed != 0 && errno != EAGAIN ? errno : 0;
    close(fd);
    return error;
}

std::vector<failed_exchange> failed_exchanges(const std::vector<std::string>& log)
{
    std::vector<failed_exchange> failures;
    int attempts = 0;
    for (const std::string& line : log) {
        const bool attempt = line.starts_with(connect_failed);
        attempts = attempt ? attempts + 1 : 0;
        if (attempt && attempts % connect_attempts != 1)
            continue;
        if (const auto text = transport_text(line))
            failures.push_back(from_text(*text));
        else if (!failures.empty() && failures.back().report.empty())
            failures.back().report = line;
    }
    return failures;
}
