#include "tools/utmctl/call_failure.h"

#include "tools/utmctl/service.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace {

// With a daemon, in an exchange or over a descriptor that the caller gets.
bool talks(const operations::function_row& function)
{
    return std::ranges::any_of(function.steps, [](const auto& one) { return one.daemon != nullptr; }) ||
           std::ranges::any_of(function.result.causes,
                               [](const auto& one) { return one.value == errno_name(EREMOTEIO); });
}

bool sockets_are_there(const operations::function_row& function)
{
    return std::ranges::none_of(
        function.steps, [](const auto& one) { return one.daemon != nullptr && access(one.daemon->path, F_OK) != 0; });
}

// ENOENT stands for two causes: an identifier that is not registered, and a socket or a key file that is missing.
exit_status status_of(const operations::function_row& function, int error)
{
    switch (error) {
    case 0:
    case EEXIST:
    case ENOSPC:
        return exit_status::refused;
    case EINVAL:
        return exit_status::usage;
    case ENOENT:
        if (talks(function) && sockets_are_there(function))
            return exit_status::unknown_identifier;
        break;
    default:
        break;
    }
    return talks(function) || function.result.when == operations::fails::negative ? exchange_failure(error).status
                                                                                  : exit_status::registry_unusable;
}

std::string meaning_of(const operations::function_row& function, int error)
{
    const auto found = std::ranges::find(function.result.causes, errno_name(error),
                                         [](const auto& cause) { return std::string(cause.value); });
    return found != function.result.causes.end() ? found->means : strerror(error);
}

} // namespace

std::string shown(const json& value)
{
    if (value.is_array())
        return value.size() == 1 ? "a list of 1 entry" : "a list of " + std::to_string(value.size()) + " entries";
    return printable(value.is_string() ? value.get<std::string>()
                                       : value.dump(-1, ' ', false, json::error_handler_t::replace));
}

std::string errno_name(int error)
{
    const char* name = strerrorname_np(error);
    return name != nullptr ? name : std::to_string(error);
}

std::optional<problem> failure_of(const operations::function_row& function, const json& returned, int error)
{
    const bool failed = has_failed(function, returned, error);
    if (!failed && !is_cut(function, returned, error))
        return {};
    const std::string name(function.name());
    const std::string what =
        failed ? name + " returned " + shown(returned) : name + " returned a list that is not whole";
    return problem{.status = failed ? status_of(function, error) : exit_status::done_in_part,
                   .what = what,
                   .culprits = {{"errno", "", "is " + errno_name(error) + ": " + meaning_of(function, error)}},
                   .next = "'utmctl describe " + name + "' tells more"};
}
