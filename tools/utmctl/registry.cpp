#include "tools/utmctl/arguments.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/json_table.h"
#include "tools/utmctl/registry_audit.h"
#include "tools/utmctl/registry_table.h"
#include "tools/utmctl/registry_view.h"
#include "tools/utmctl/worker.h"

#include <cerrno>
#include <unistd.h>

namespace {

outcome show(const request& asked)
{
    return show_registry(read_registry("the registry was not shown", asked.timeout), registry_was_cleared());
}

problem unknown_problem(const std::string& what)
{
    return {.status = exit_status::unknown_identifier,
            .what = what,
            .culprits = {{"the ID registry", "", "does not hold it"}},
            .next = "'utmctl registry show' tells what it holds"};
}

outcome check(const request& asked)
{
    const id_kind& kind = kind_of(asked.one("KIND"));
    const uint32_t id = registered_id_of(asked.one("ID"));
    const std::string what = named(kind, id) + " was not looked up";
    // The library's own check reads a registry that it cannot lock as one that holds the identifier.
    read_registry(what, asked.timeout);
    const bool registered =
        *call_in_worker(what, asked.timeout, [&] { return json(check_shm_utm_id(id, kind.number) == 0); },
                        {.without_lock = what})
             .result;
    outcome told = {.result = {{"kind", kind.word}, {"id", id}, {"registered", registered}}};
    if (registered) {
        told.confirmations = {named(kind, id) + " is registered"};
    } else {
        told.status = exit_status::unknown_identifier;
        told.problems = {unknown_problem(named(kind, id) + " is not registered")};
    }
    return told;
}

[[noreturn]] void tell_not_reserved(const std::string& what, int error)
{
    if (error != EEXIST && error != ENOSPC)
        throw failure(registry_problem(what, "cannot be used", error));
    const bool taken = error == EEXIST;
    throw failure(
        {.status = exit_status::refused,
         .what = what,
         .culprits = {{"the ID registry", "", taken ? "holds it already" : "holds 256 of them, and has no free slot"}},
         .next = taken ? "choose another identifier, or none to get one from the clock"
                       : "release one that is not needed any more"});
}

kqutm::result<json> clear_and_reserve(uint32_t id, const id_kind& kind)
{
    const int reserved = init_utm_id_shm() == -1 ? -1 : get_unique_id(id, kind.number);
    if (reserved == -1)
        return kqutm::cause{.error = errno};
    return json(reserved);
}

outcome reserve(const request& asked)
{
    const id_kind& kind = kind_of(asked.one("KIND"));
    const uint32_t id = asked.has("ID") ? registered_id_of(asked.one("ID")) : 0;
    const std::string subject = id == 0 ? std::string("an identifier") : named(kind, id);
    const std::string what = subject + " was not reserved";
    read_registry(what, asked.timeout);
    const call_result call =
        call_in_worker(subject + " may have been reserved", asked.timeout, [&] { return clear_and_reserve(id, kind); });
    if (!call.result)
        tell_not_reserved(what, call.result.error().error);
    return {.result = {{"kind", kind.word}, {"id", *call.result}}, .lines = {cell_of(*call.result)}};
}

// Releasing a policy frees its number both as a content-filter and as an application policy.
std::vector<std::string> freed_kinds(const utm_id_registry& before, const utm_id_registry& after, uint32_t id)
{
    std::vector<std::string> freed;
    for (const char* word : {"profile", "cf-policy", "app-policy"}) {
        const uint32_t kind = kind_of(word).number;
        if (is_registered(before, kind, id) && !is_registered(after, kind, id))
            freed.emplace_back(word);
    }
    return freed;
}

outcome release(const request& asked)
{
    const id_kind& kind = kind_of(asked.one("KIND"));
    const uint32_t id = registered_id_of(asked.one("ID"));
    const std::string what = named(kind, id) + " was not released";
    const utm_id_registry before = read_registry(what, asked.timeout);
    if (!is_registered(before, kind.number, id))
        throw failure(unknown_problem(what));
    const std::string maybe = named(kind, id) + " may have been released";
    const auto freed = call_in_worker(maybe, asked.timeout, [&] {
                           return with_errno(done_if_zero(reset_utm_id_shm(id, kind.number)));
                       }).result;
    const utm_id_registry after = read_registry_again(maybe, asked.timeout);
    if (!freed || is_registered(after, kind.number, id))
        throw failure(
            registry_problem(what, "did not take the change", freed ? freed->get<int>() : freed.error().error));
    outcome released = {.result = {{"id", id}, {"released", freed_kinds(before, after, id)}}};
    for (const std::string& word : freed_kinds(before, after, id))
        released.confirmations.push_back(named(kind_of(word), id) + " released");
    return released;
}

constexpr char in_use[] = "the registry is in use since the gateway started";
constexpr char nothing_to_clear[] = "the registry has been cleared already since the gateway started; nothing was done";

// The library reports success when it could not lock the registry, and the marker keeps it from trying again.
outcome initialise(const std::string& participle, double timeout, bool remove_marker)
{
    const std::string what = "the registry was not " + participle;
    const std::string maybe = "the registry may have been " + participle;
    const bool empty = is_empty(read_registry(what, timeout));
    if (remove_marker && unlink(UTM_ID_MARKER) != 0 && errno != ENOENT)
        throw failure(registry_problem(what, std::string("keeps its marker ") + UTM_ID_MARKER, errno));
    if (registry_was_cleared())
        return {.result = {{"cleared", false}}, .confirmations = {empty ? nothing_to_clear : in_use}};
    const call_result call = call_in_worker(maybe, timeout, [] { return as_json(done_if_zero(init_utm_id_shm())); });
    if (!call.result)
        throw failure(registry_problem(what, "cannot be cleared", call.result.error().error));
    if (!is_empty(read_registry_again(maybe, timeout)))
        throw failure(registry_problem(what, "was not cleared, or somebody uses it already", 0));
    return {.result = {{"cleared", true}}, .confirmations = {"the registry was cleared"}};
}

outcome init(const request& asked)
{
    return initialise("initialised", asked.timeout, false);
}

outcome clear(const request& asked)
{
    return initialise("cleared", asked.timeout, true);
}

constexpr argument kind_and_id[] = {
    {"KIND", occurs::once, check_kind, "profile, cf-policy or app-policy"},
    {"ID", occurs::once, check_id, "the identifier"},
};
constexpr argument kind_and_registered_id[] = {
    {"KIND", occurs::once, check_kind, "profile, cf-policy or app-policy"},
    {"ID", occurs::once, check_registered_id, "the identifier, up to 4294967295"},
};
constexpr argument kind_and_new_id[] = {
    {"KIND", occurs::once, check_kind, "profile, cf-policy or app-policy"},
    {"ID", occurs::at_most_once, check_id_or_zero, "the identifier to take; 0 or none: the current time in seconds"},
};

constexpr char lock_and_segment[] =
    "init_utm_id_config_sem utm_id_config_lock attach_utm_id_data_shm detach_utm_id_data_shm utm_id_config_unlock";

constexpr command commands[] = {
    {"show", {}, {show, lock_and_segment}, "show every slot in use"},
    {.word = "audit",
     .run = audit_registry,
     .help =
         "find out what is wrong with the slots, and which profiles the daemons refuse; each answer may take 2 s, or "
         "the --timeout",
     .example = "registry audit",
     .timeout = 2},
    {"lock-status", {}, show_lock, "show which process holds the registry's lock, and which wait for it"},
    {"check",
     kind_and_id,
     {check, "check_shm_utm_id"},
     "tell by the exit status whether an identifier is registered",
     nullptr,
     "registry check profile 7"},
    {"reserve",
     kind_and_new_id,
     {reserve, "init_utm_id_shm get_unique_id"},
     "reserve an identifier, without telling any daemon, and print it",
     nullptr,
     "registry reserve cf-policy 70"},
    {"release",
     kind_and_registered_id,
     {release, "reset_utm_id_shm"},
     "release an identifier, a policy's as both kinds; the daemons keep theirs",
     nullptr,
     "registry release cf-policy 70"},
    {"init", {}, {init, "init_utm_id_shm"}, "clear the registry if that was not done since the gateway started"},
    {"clear",
     {},
     {clear, "init_utm_id_shm"},
     "clear the registry now; the daemons keep theirs",
     "every identifier and binding",
     "registry clear --yes"},
};

} // namespace

constinit const family registry_family = {"registry", "the identifiers of profiles and policies", commands};
