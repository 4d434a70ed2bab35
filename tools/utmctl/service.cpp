#include "tools/utmctl/service.h"

#include <cerrno>
#include <cstring>

std::string name_of(const service& daemon)
{
    return std::string("the ") + daemon.name + " daemon";
}

failed_exchange exchange_failure(int error)
{
    switch (error) {
    case EREMOTEIO:
        return {exit_status::refused, "refused", "", error};
    case ETIMEDOUT:
        return {exit_status::no_answer, "did not answer in time", "", error};
    case ENODATA:
        return {exit_status::protocol_error, "ended the connection without an answer", "", error};
    case EPROTO:
        return {exit_status::protocol_error, "answered with a record of the wrong size", "", error};
    case EOVERFLOW:
        return {exit_status::protocol_error, "sends a list without end", "", error};
    case EPIPE:
    case ECONNRESET:
        return {exit_status::protocol_error, std::string("broke off the exchange: ") + strerror(error), "", error};
    default:
        return {exit_status::unreachable, std::string("cannot be reached: ") + strerror(error), "", error};
    }
}
