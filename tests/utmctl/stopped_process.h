#pragma once

#include <csignal>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

// Runs a function that stops it, in a process of its own, which is killed when the owner goes.
class stopped_process {
public:
    explicit stopped_process(const std::function<void()>& run) : process_(fork())
    {
        if (process_ == 0) {
            run();
            _exit(0);
        }
        waitpid(process_, nullptr, WUNTRACED);
    }
    stopped_process(const stopped_process&) = delete;
    stopped_process& operator=(const stopped_process&) = delete;
    ~stopped_process()
    {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }

    pid_t process() const { return process_; }

private:
    pid_t process_;
};
