#include "bench/usage.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace bench {

namespace {

rusage usage_of(pid_t process)
{
    rusage usage = {};
    int status = 0;
    if (wait4(process, &status, 0, &usage) != process || status != 0) {
        fprintf(stderr, "a process that was to be measured failed\n");
        exit(EXIT_FAILURE);
    }
    return usage;
}

pid_t start(void (*run)())
{
    const pid_t process = fork();
    if (process != 0)
        return process;
    run();
    _exit(EXIT_SUCCESS);
}

// Unlike fork, it does not make the new process pay for the memory of this one.
pid_t start(const char* const* command)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t process = -1;
    posix_spawn(&process, command[0], &actions, nullptr, const_cast<char* const*>(command), environ);
    posix_spawn_file_actions_destroy(&actions);
    return process;
}

double milliseconds(const timeval& time)
{
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

} // namespace

double peak_memory(void (*run)())
{
    return static_cast<double>(usage_of(start(run)).ru_maxrss);
}

double processor_time(const char* const* command)
{
    std::vector<double> times;
    for (int run = 0; run < 51; ++run) {
        const rusage usage = usage_of(start(command));
        times.push_back(milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime));
    }
    return *std::min_element(times.begin(), times.end());
}

} // namespace bench
