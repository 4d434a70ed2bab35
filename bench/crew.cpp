#include "bench/crew.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>
#include <vector>

namespace bench {

namespace {

constexpr int most_processes = 64;

struct task {
    void (*operation)();
    int times;
};

struct channel {
    int to_read;
    int to_write;
};

channel open_channel()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        abort();
    return {ends[0], ends[1]};
}

// Processes that wait, each for tasks of its own, and tell when they have done one.
class crew {
public:
    crew()
    {
        for (int worker = 0; worker < most_processes; ++worker) {
            tasks_.push_back(open_channel());
            if (fork() == 0)
                work(tasks_.back().to_read);
        }
    }

    void run(int processes, const task& task) const
    {
        for (int worker = 0; worker < processes; ++worker)
            (void)!write(tasks_[static_cast<size_t>(worker)].to_write, &task, sizeof task);
        char done;
        for (int worker = 0; worker < processes; ++worker)
            (void)!read(done_.to_read, &done, sizeof done);
    }

private:
    [[noreturn]] void work(int tasks) const
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        task task;
        while (read(tasks, &task, sizeof task) == sizeof task) {
            for (int times = 0; times < task.times; ++times)
                task.operation();
            (void)!write(done_.to_write, "", 1);
        }
        _exit(EXIT_SUCCESS);
    }

    std::vector<channel> tasks_;
    const channel done_ = open_channel();
};

} // namespace

void at_once(int processes, void (*operation)(), int times)
{
    static const crew everyone;
    everyone.run(processes, {operation, times});
}

} // namespace bench
