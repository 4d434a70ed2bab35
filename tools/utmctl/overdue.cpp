#include "tools/utmctl/overdue.h"

#include "tools/utmctl/lock_view.h"
#include "tools/utmctl/process_name.h"

namespace {

constexpr char longer_limit[] = "--timeout sets a longer limit";
constexpr char look_at_registry[] =
    "'utmctl registry show' tells what the registry holds, and --timeout sets a longer limit";

const lock* awaited_lock(const awaited& whom)
{
    if (whom.registry_lock)
        return &registry_lock;
    return whom.uuid_lock ? &uuid_lock : nullptr;
}

void blame_holder(problem& overdue, const lock& one, int holder, const std::string& within)
{
    const bool ended = state_of_process(holder) == process_state::ended;
    overdue.culprits = {{one.name, "",
                         "was not given " + within + ": " + name_of_process(holder) +
                             (ended ? " has ended without giving it back" : " holds it")}};
    overdue.next = std::string(ended ? "restart the gateway" : "end that process or wait for it") + ", then see what " +
                   one.shown_by + " tells";
}

// Of several daemons it is not known which one keeps the call.
culprit silent_daemons(const std::vector<service>& daemons, const std::string& cause)
{
    if (daemons.size() == 1)
        return {name_of(daemons.front()), daemons.front().socket, cause};
    std::string names;
    for (const service& one : daemons)
        names += (names.empty() ? "" : " or ") + name_of(one) + " (" + one.socket + ")";
    return {names, "", cause};
}

const char* usual_advice(const awaited& whom)
{
    if (!whom.daemons.empty())
        return "find out why the daemon hangs; --timeout sets a longer limit";
    return whom.uuid_lock ? longer_limit : look_at_registry;
}

} // namespace

problem overdue_call(const std::string& what, const std::string& within, const awaited& whom)
{
    const lock* lock = awaited_lock(whom);
    const std::optional<lock_view> seen = lock != nullptr ? look_at(*lock) : std::nullopt;
    problem overdue = {.status = exit_status::no_answer, .what = what, .culprits = {}, .next = ""};
    if (seen && seen->taken()) {
        blame_holder(overdue, *lock, seen->process, within);
        if (!whom.without_lock.empty())
            overdue.what = whom.without_lock;
        return overdue;
    }
    overdue.culprits = {whom.daemons.empty()
                            ? culprit{"the library", "", "has not come back " + within + ", and the call was ended"}
                            : silent_daemons(whom.daemons, "did not answer " + within + ", and the call was ended")};
    overdue.next = whom.advice.empty() ? usual_advice(whom) : whom.advice;
    return overdue;
}
