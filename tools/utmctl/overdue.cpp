#include "tools/utmctl/overdue.h"

#include "kqutm/registry.h"

#include <fstream>
#include <optional>
#include <sys/sem.h>

namespace {

constexpr char look_at_registry[] =
    "'utmctl registry show' tells what the registry holds, and --timeout sets a longer limit";

std::string name_of_process(int process)
{
    std::string name;
    std::getline(std::ifstream("/proc/" + std::to_string(process) + "/comm"), name);
    return "process " + std::to_string(process) + " (" + (name.empty() ? "of unknown name" : name) + ")";
}

// Where the lock is taken, the last process that changed the semaphore is the one that took it.
std::optional<int> lock_holder()
{
    const int semaphore = init_utm_id_config_sem();
    if (semaphore < 0 || semctl(semaphore, 0, GETVAL) != 0)
        return {};
    return semctl(semaphore, 0, GETPID);
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

} // namespace

problem overdue_call(const std::string& what, const std::string& within, const awaited& whom)
{
    const std::optional<int> holder = whom.registry_lock ? lock_holder() : std::nullopt;
    problem overdue = {.status = exit_status::no_answer, .what = what, .culprits = {}, .next = look_at_registry};
    if (holder) {
        overdue.culprits = {
            {"the registry lock", "", "was not given " + within + ": " + name_of_process(*holder) + " holds it"}};
        overdue.next = "end that process or wait for it, then see what 'utmctl registry show' tells";
    } else if (whom.daemons.empty()) {
        overdue.culprits = {{"the library", "", "has not come back " + within + ", and the call was ended"}};
    } else {
        overdue.culprits = {silent_daemons(whom.daemons, "did not answer " + within + ", and the call was ended")};
        overdue.next = "find out why the daemon hangs; --timeout sets a longer limit";
    }
    return overdue;
}
