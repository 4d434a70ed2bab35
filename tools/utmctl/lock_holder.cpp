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

culprit overdue_culprit(const std::string& within)
{
    const int semaphore = init_utm_id_config_sem();
    if (semaphore < 0 || semctl(semaphore, 0, GETVAL) != 0)
        return {"the library", "", "has not come back " + within};
    // Where the lock is taken, the last process that changed the semaphore is the one that took it.
    const int holder = semctl(semaphore, 0, GETPID);
    return {"the registry lock", "",
            "was not given " + within + ": process " + std::to_string(holder) + " (" + name_of(holder) + ") holds it"};
}
