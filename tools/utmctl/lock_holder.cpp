#include "tools/utmctl/lock_holder.h"

#include "kqutm/registry.h"

#include <fstream>
#include <sys/sem.h>

namespace {

std::string name_of(int process)
{
    std::string name;
    std::getline(std::ifstream("/proc/" + std::to_string(process) + "/comm"), name);
    return name.empty() ? "of unknown name" : name;
}

} // namespace

problem overdue_call(const std::string& what, const std::string& within)
{
    const int semaphore = init_utm_id_config_sem();
    if (semaphore < 0 || semctl(semaphore, 0, GETVAL) != 0)
        return {.status = exit_status::no_answer,
                .what = what,
                .culprits = {{"the library", "", "has not come back " + within + ", and the call was ended"}},
                .next = "'utmctl registry show' tells what the registry holds, and --timeout sets a longer limit"};
    // Where the lock is taken, the last process that changed the semaphore is the one that took it.
    const int holder = semctl(semaphore, 0, GETPID);
    const std::string process = "process " + std::to_string(holder) + " (" + name_of(holder) + ")";
    return {.status = exit_status::no_answer,
            .what = what,
            .culprits = {{"the registry lock", "", "was not given " + within + ": " + process + " holds it"}},
            .next = "end that process or wait for it, then see what 'utmctl registry show' tells"};
}
