#pragma once

#include <cstddef>

// System V semaphores used as mutexes, and shared memory segments. Their keys are made from the library's installed
// file and a project number.

// The semaphore set of one, created with value 1 where there is none. Returns its identifier or a negative value.
int open_semaphore(int project);

// One semop on semaphore 0, undone by the kernel when the process ends: -1 locks, 1 unlocks. Returns 0 or -1.
int change_semaphore(int semid, short change);

// Locks, and takes up again a wait that a signal interrupted: it must not read as a lock that cannot be had.
bool lock_through_signals(int semid);

struct segment {
    void* address; // null when the segment can be neither found nor created
    bool created;
};
segment attach_segment(int project, size_t size);

void detach_segment(const void* address);
