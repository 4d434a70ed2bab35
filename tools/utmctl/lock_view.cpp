#include "tools/utmctl/lock_view.h"

#include "kqutm/registry.h"

#include <sys/ipc.h>
#include <sys/sem.h>

namespace {

constexpr char key_file[] = KQUTM_IPC_KEY_FILE;

// semctl wants it as a union that no system header declares.
union semaphore_argument {
    semid_ds* status;
};

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
    return lock_view{.value = semctl(set, 0, GETVAL),
                     .process = semctl(set, 0, GETPID),
                     .waiting = semctl(set, 0, GETNCNT),
                     .mode = status.sem_perm.mode};
}
