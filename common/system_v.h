#pragma once

#include "common/errno_guard.h"

#include <cstddef>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

// System V semaphores used as mutexes, and shared memory segments. Their keys are made from the library's installed
// file and a project number. What usually happens is inline; what happens once after a start is not.

inline constexpr int permissions = 0666;

key_t key_of(int project);

int create_semaphore(key_t key);

// The semaphore set of one, created with value 1 where there is none. Returns its identifier or a negative value.
inline int open_semaphore(int project)
{
    const key_t key = key_of(project);
    if (key == -1)
        return -1;
    const int existing = semget(key, 1, permissions);
    return existing >= 0 ? existing : create_semaphore(key);
}

// One semop on semaphore 0, undone by the kernel when the process ends: -1 locks, 1 unlocks. Returns 0 or -1.
inline int change_semaphore(int semid, short change)
{
    sembuf operation = {.sem_num = 0, .sem_op = change, .sem_flg = SEM_UNDO};
    return semop(semid, &operation, 1);
}

// Locks, and takes up again a wait that a signal interrupted: it must not read as a lock that cannot be had.
inline bool lock_through_signals(int semid)
{
    int result;
    do
        result = change_semaphore(semid, -1);
    while (result != 0 && errno == EINTR);
    return result == 0;
}

struct segment {
    void* address; // null when the segment can be neither found nor created
    bool created;
};

inline void* attach_at(int segment_id)
{
    void* address = shmat(segment_id, nullptr, 0);
    return address == reinterpret_cast<void*>(-1) ? nullptr : address;
}

segment create_segment(key_t key, size_t size);

inline segment attach_segment(int project, size_t size)
{
    // Deliberate: the key is used untested; without the key file it is -1, a key like any other.
    const key_t key = key_of(project);
    const int existing = shmget(key, size, 0);
    return existing >= 0 ? segment{.address = attach_at(existing), .created = false} : create_segment(key, size);
}

inline void detach_segment(const void* address)
{
    if (address == nullptr)
        return;
    errno_guard keep;
    shmdt(address);
}
