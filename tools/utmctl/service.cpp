#include "tools/utmctl/service.h"

#include <cerrno>
#include <cstring>

namespace {

constexpr char log_tells[] = "the daemon's own log tells the reason";

// Null where nobody but the daemon can tell.
const char* remedy_for(exit_status status)
{
    switch (status) {
    case exit_status::unreachable:
        return "start what cannot be reached";
    case exit_status::no_answer:
        return "find out why the daemon hangs";
    case exit_status::protocol_error:
        return "check that the daemon and the library are of one version";
    default:
        return nullptr;
    }
}

} // namespace

std::string name_of(const service& daemon)
{
    return std::string("the ") + daemon.name + " daemon";
}

failed_exchange exchange_failure(int error)
{
    switch (error) {
    case EREMOTEIO:
        return {exit_status::refused, "refused", ""};
    case ETIMEDOUT:
        return {exit_status::no_answer, "did not answer in time", ""};
    case ENODATA:
        return {exit_status::protocol_error, "ended the connection without an answer", ""};
    case EPROTO:
        return {exit_status::protocol_error, "answered with a record of the wrong size", ""};
    case EPIPE:
    case ECONNRESET:
        return {exit_status::protocol_error, std::string("broke off the exchange: ") + strerror(error), ""};
    default:
        return {exit_status::unreachable, std::string("cannot be reached: ") + strerror(error), ""};
    }
}

std::string next_after(exit_status status)
{
    const char* remedy = remedy_for(status);
    return remedy != nullptr ? std::string(remedy) + ", then run the command again" : log_tells;
}

std::string next_after(exit_status status, const std::string& step)
{
    const char* remedy = remedy_for(status);
    return remedy != nullptr ? std::string(remedy) + ", then " + step : log_tells + ("; " + step);
}
