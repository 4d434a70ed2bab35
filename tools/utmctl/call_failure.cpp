#include "tools/utmctl/call_failure.h"

#include "tools/utmctl/arguments.h"
#include "tools/utmctl/json_text.h"
#include "tools/utmctl/service.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace {

struct identifier {
    uint32_t kind;
    uint32_t id;
    bool reserved; // by the call, which does not ask the registry for it
};

std::string named(const identifier& one)
{
    return named(kind_of_number(one.kind), one.id);
}

uint32_t number_at(const called& call, size_t at)
{
    return static_cast<uint32_t>(operations::parse_whole(call.given[at]).value());
}

// Every number but those of the two others stands for an application policy.
uint32_t kind_at(const called& call, size_t at)
{
    const uint32_t named = call.function.arguments[at].kind;
    const uint32_t kind = named == operations::kind_of_next_argument ? number_at(call, at + 1) : named;
    return kind == UTM_ID_USER_PROFILE || kind == UTM_ID_CF_POLICY ? kind : uint32_t{UTM_ID_APP_POLICY};
}

// The identifiers among the arguments; 0 asks for one from the clock.
std::vector<identifier> identifiers_of(const called& call)
{
    std::vector<identifier> found;
    for (size_t at = 0; at < call.given.size(); ++at) {
        const operations::argument_help& argument = call.function.arguments[at];
        if (argument.kind == 0)
            continue;
        const uint32_t id = number_at(call, at);
        if (id != 0 || !argument.reserves)
            found.push_back({kind_at(call, at), id, argument.reserves});
    }
    return found;
}

std::optional<identifier> find_unknown(const called& call)
{
    for (const identifier& one : identifiers_of(call)) {
        if (!one.reserved && !is_registered(call.before, one.kind, one.id))
            return one;
    }
    return {};
}

// What the call has reserved, and left in the registry.
std::optional<identifier> find_left(const called& call)
{
    const utm_id_registry after = registry_without_lock();
    for (const identifier& one : identifiers_of(call)) {
        if (one.reserved && !is_registered(call.before, one.kind, one.id) && is_registered(after, one.kind, one.id))
            return one;
    }
    return {};
}

// Also for an identifier from the clock, which stands in no argument.
bool asks_registry(const operations::function_row& function)
{
    return std::ranges::any_of(function.arguments, [](const auto& one) { return one.kind != 0; });
}

bool key_file_is_missing()
{
    return access(KQUTM_IPC_KEY_FILE, F_OK) != 0;
}

exit_status status_of(operations::fails_on on, int error)
{
    switch (on) {
    case operations::fails_on::daemon:
        return exchange_failure(error).status;
    case operations::fails_on::shared_memory:
        return exit_status::registry_unusable;
    case operations::fails_on::system:
        return exit_status::refused;
    }
    return exit_status::refused;
}

exit_status status_of(const operations::function_row& function, int error)
{
    switch (error) {
    case 0:
    case EEXIST:
    case ENOSPC:
        return exit_status::refused;
    case EINVAL:
        return exit_status::usage;
    default:
        return status_of(function.result.on, error);
    }
}

std::string meaning_of(const operations::function_row& function, int error)
{
    const auto found = std::ranges::find(function.result.causes, errno_name(error),
                                         [](const auto& cause) { return std::string(cause.value); });
    return found != function.result.causes.end() ? found->means : strerror(error);
}

// ENOENT stands for an identifier that is not registered, for a key file and for a socket that is missing.
void tell_what_is_missing(const called& call, problem& why)
{
    if (asks_registry(call.function) && key_file_is_missing()) {
        why.status = exit_status::registry_unusable;
        why.culprits = {{"errno", "", "is ENOENT: the library's installed file is missing"}};
    } else if (const auto unknown = find_unknown(call)) {
        const bool sends = call.function.result.on == operations::fails_on::daemon;
        why.status = exit_status::unknown_identifier;
        why.culprits = {
            {"errno", "",
             "is ENOENT: " + named(*unknown) + " is not registered" + (sends ? ", and nothing was sent" : "")}};
    } else if (!identifiers_of(call).empty()) {
        why.culprits = {{"errno", "", "is ENOENT: a daemon's socket is missing"}};
    }
}

// An identifier that is reserved may stay in the registry though the function, or its daemon, refuses it.
void tell_what_stays(const called& call, const std::string& name, problem& why)
{
    const auto left = find_left(call);
    if (!left)
        return;
    why.status = exit_status::done_in_part;
    why.culprits = {{"errno", "", "is " + name + ": " + named(*left) + " is reserved, and stays in the registry"}};
    why.next = std::string("'utmctl registry release ") + kind_of_number(left->kind).word + " " +
               std::to_string(left->id) + "' frees it";
}

std::string advice_after(const std::string& name, int error)
{
    const std::string description = "'utmctl describe " + name + "' tells ";
    return error == ETIMEDOUT ? "it may have acted all the same; " + description + "how long the library waits"
                              : description + "more";
}

} // namespace

std::string shown(const json& value)
{
    if (value.is_array())
        return value.size() == 1 ? "a list of 1 entry" : "a list of " + std::to_string(value.size()) + " entries";
    return shown_text(value);
}

std::string errno_name(int error)
{
    const char* name = strerrorname_np(error);
    return name != nullptr ? name : std::to_string(error);
}

std::optional<problem> failure_of(const called& call, const json& returned, int error)
{
    const operations::function_row& function = call.function;
    const bool failed = has_failed(function, returned, error);
    if (!failed && !is_cut(function, returned, error))
        return {};
    const std::string name(function.name());
    const std::string what =
        failed ? name + " returned " + shown(returned) : name + " returned a list that is not whole";
    problem why = {.status = failed ? status_of(function, error) : exit_status::done_in_part,
                   .what = what,
                   .culprits = {{"errno", "", "is " + errno_name(error) + ": " + meaning_of(function, error)}},
                   .next = advice_after(name, error)};
    if (error == ENOENT)
        tell_what_is_missing(call, why);
    tell_what_stays(call, errno_name(error), why);
    return why;
}
