#include "tools/utmctl/lock_view.h"

#include "kqutm/registry.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/syscall.h>

namespace {

constexpr char key_file[] = KQUTM_IPC_KEY_FILE;

// semctl wants it as a union that no system header declares.
union semaphore_argument {
    semid_ds* status;
};

// Whether the call that /proc shows of a sleeping thread, "NUMBER ARGUMENT...", waits for a semaphore of the set.
bool waits_for(const std::string& call, int set)
{
    long number = -1;
    unsigned long first = 0;
    return sscanf(call.c_str(), "%ld %lx", &number, &first) == 2 && (number == SYS_semop || number == SYS_semtimedop) &&
           first == static_cast<unsigned long>(set);
}

bool is_number(const std::string& name)
{
    return name.find_first_not_of("0123456789") == std::string::npos;
}

} // namespace

constinit const lock registry_lock = {"the registry lock", UTM_ID_SEMAPHORE_PROJECT, "'utmctl registry show'"};
constinit const lock uuid_lock = {"the lock of the UUID", UTM_COMMON_SEMAPHORE_PROJECT, "'utmctl uuid get'"};

std::optional<lock_view> look_at(const lock& one)
{
    const key_t key = ftok(key_file, one.project);
    const int set = key == -1 ? -1 : semget(key, 0, 0);
    semid_ds status;
    if (set < 0 || semctl(set, 0, IPC_STAT, semaphore_argument{.status = &status}) != 0)
        return {};
    return lock_view{.set = set,
                     .value = semctl(set, 0, GETVAL),
                     .process = semctl(set, 0, GETPID),
                     .waiting = semctl(set, 0, GETNCNT),
                     .mode = status.sem_perm.mode};
}

std::string several_may_hold(const lock_view& seen)
{
    return "has the value " + std::to_string(seen.value) +
           " instead of 0 or 1, so that several processes may hold it at once";
}

std::vector<int> waiting_for(const lock_view& seen)
{
    std::vector<int> processes;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", ignored)) {
        const std::string name = entry.path().filename();
        std::string call;
        if (is_number(name) && std::getline(std::ifstream("/proc/" + name + "/syscall"), call) &&
            waits_for(call, seen.set))
            processes.push_back(std::stoi(name));
    }
    std::sort(processes.begin(), processes.end());
    return processes;
}
