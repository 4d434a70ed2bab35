#include "common/system_v.h"

#include "common/errno_guard.h"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

namespace {

constexpr char key_file[] = KQUTM_IPC_KEY_FILE;
constexpr int permissions = 0666;
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

int open_semaphore(int project)
{
    key_t key = ftok(key_file, project);
    if (key == -1)
        return -1;
    int existing = semget(key, 1, permissions);
    if (existing >= 0)
        return existing;
    // Deliberate: whoever loses the race to create the set fails this call instead of looking for it again.
    int created = semget(key, 1, create_anew);
    if (created < 0)
        return created;
    if (semctl(created, 0, SETVAL, semaphore_argument{.value = 1}) < 0)
        return -1;
    return created;
}

int change_semaphore(int semid, short change)
{
    sembuf operation = {.sem_num = 0, .sem_op = change, .sem_flg = SEM_UNDO};
    return semop(semid, &operation, 1);
}

bool lock_through_signals(int semid)
{
    int result;
    do
        result = change_semaphore(semid, -1);
    while (result != 0 && errno == EINTR);
    return result == 0;
}

segment attach_segment(int project, size_t size)
{
    // Deliberate: the key is used untested; without the key file it is -1, a key like any other.
    key_t key = ftok(key_file, project);
    int existing = shmget(key, size, 0);
    if (existing >= 0)
        return {.address = attach(existing), .created = false};
    int created = shmget(key, size, create_anew);
    if (created < 0)
        return {.address = nullptr, .created = false};
    return {.address = attach(created), .created = true};
}

void detach_segment(const void* address)
{
    if (address == nullptr)
        return;
    errno_guard keep;
    shmdt(address);
}
