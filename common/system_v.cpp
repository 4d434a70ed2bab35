#include "common/system_v.h"

namespace {

constexpr int create_anew = IPC_CREAT | IPC_EXCL | permissions;

// semctl wants it as a union that no system header declares.
union semaphore_argument {
    int value;
    semid_ds* set;
    unsigned short* values;
};

} // namespace

key_t key_of(int project)
{
    return ftok(KQUTM_IPC_KEY_FILE, project);
}

int create_semaphore(key_t key)
{
    // Deliberate: whoever loses the race to create the set fails this call instead of looking for it again.
    int created = semget(key, 1, create_anew);
    if (created < 0)
        return created;
    if (semctl(created, 0, SETVAL, semaphore_argument{.value = 1}) < 0)
        return -1;
    return created;
}

segment create_segment(key_t key, size_t size)
{
    int created = shmget(key, size, create_anew);
    if (created < 0)
        return {.address = nullptr, .created = false};
    return {.address = attach_at(created), .created = true};
}
