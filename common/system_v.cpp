#include "common/system_v.h"

const char key_file[] = KQUTM_IPC_KEY_FILE;

namespace {

constexpr int create_anew = IPC_CREAT | IPC_EXCL | permissions;

// semctl wants it as a union that no system header declares.
union semaphore_argument {
    int value;
};

void* attach(int segment_id)
{
    void* address = shmat(segment_id, nullptr, 0);
    return address == reinterpret_cast<void*>(-1) ? nullptr : address;
}

} // namespace

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

segment attach_segment(int project, size_t size)
{
    // Deliberate: the key is used untested; without the key file it is -1, a key like any other.
    key_t key = key_of(project);
    int existing = shmget(key, size, 0);
    if (existing >= 0)
        return {.address = attach(existing), .created = false};
    int created = shmget(key, size, create_anew);
    if (created < 0)
        return {.address = nullptr, .created = false};
    return {.address = attach(created), .created = true};
}
