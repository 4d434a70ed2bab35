#pragma once

#include "tests/sandbox/registry.h"

#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

// Runs body in a process of its own, which ends.
inline pid_t ended_process(void (*body)())
{
    const pid_t child = fork();
    if (child == 0) {
        body();
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    return child;
}

// As the library never does: the kernel does not give that lock back.
inline pid_t process_that_took_the_lock_for_good()
{
    semaphore();
    return ended_process([] {
        sembuf take = {.sem_num = 0, .sem_op = -1, .sem_flg = 0};
        semop(semaphore(), &take, 1);
    });
}
