#include "tools/utmctl/overdue.h"

#include "tools/utmctl/lock_view.h"
#include "tools/utmctl/process_name.h"
#include "tools/utmctl/remedy.h"

#include <cerrno>

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

struct holding {
    const char* how; // behind the name of the process
    std::string remedy;
};

holding of_process(int holder)
{
    switch (state_of_process(holder)) {
    case process_state::stopped:
        return {" is stopped and holds it", continuing(holder) + ", or end it"};
    case process_state::ended:
        return {" has ended without giving it back", "restart the gateway"};
    case process_state::alive:
        break;
    }
    return {" holds it", "end that process or wait for it"};
}

void blame_holder(problem& overdue, const lock& one, int holder, const awaited& whom, const std::string& within)
{
    const holding held = of_process(holder);
    const bool in_doubt = whom.without_lock.empty();
    overdue.culprits = {{one.name, "", "was not given " + within + ": " + name_of_process(holder) + held.how}};
    overdue.next = held.remedy + ", then " +
                   (in_doubt ? std::string("see what ") + one.shown_by + " tells" : "run the command again");
    if (!in_doubt)
        overdue.what = whom.without_lock;
}

// What the call may have left.
std::string look_after(const awaited& whom)
{
    if (!whom.advice.empty())
        return "; " + whom.advice;
    return whom.registry_lock ? std::string("; ") + look_at_registry : "";
}

// One that is stopped keeps the call for sure.
bool blame_stopped(problem& overdue, const awaited& whom, const std::string& within)
{
    for (const service& one : whom.daemons) {
        const int process = stopped_process_of(one);
        if (process == 0)
            continue;
        overdue.culprits = {{name_of(one), one.socket, "did not answer " + within + told_of_process(process)}};
        overdue.next = continuing(process) + look_after(whom);
        return true;
    }
    return false;
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

std::string usual_advice(const awaited& whom)
{
    if (!whom.daemons.empty())
        return remedy_for(whom.daemons.size() == 1 ? whom.daemons : std::vector<service>(), ETIMEDOUT) + "; " +
               longer_limit;
    return whom.uuid_lock ? longer_limit : look_at_registry;
}

} // namespace

problem overdue_call(const std::string& what, const std::string& within, const awaited& whom)
{
    const lock* lock = awaited_lock(whom);
    const std::optional<lock_view> seen = lock != nullptr ? look_at(*lock) : std::nullopt;
    problem overdue = {.status = exit_status::no_answer, .what = what, .culprits = {}, .next = ""};
    if (seen && seen->taken()) {
        blame_holder(overdue, *lock, seen->process, whom, within);
        return overdue;
    }
    if (blame_stopped(overdue, whom, within))
        return overdue;
    overdue.culprits = {whom.daemons.empty()
                            ? culprit{"the library", "", "has not come back " + within + ", and the call was ended"}
                            : silent_daemons(whom.daemons, "did not answer " + within + ", and the call was ended")};
    overdue.next = whom.advice.empty() ? usual_advice(whom) : whom.advice;
    return overdue;
}
