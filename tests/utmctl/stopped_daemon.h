#pragma once

#include "sim/scripted_daemon.h"

#include <csignal>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// Listens at the path and is stopped, so that it takes no connection.
class stopped_daemon {
public:
    explicit stopped_daemon(const std::string& path) : process_(fork())
    {
        if (process_ == 0) {
            const sim::scripted_daemon daemon(path, sim::script{});
            chmod(path.c_str(), 0777);
            raise(SIGSTOP);
            _exit(0);
        }
        waitpid(process_, nullptr, WUNTRACED);
    }
    stopped_daemon(const stopped_daemon&) = delete;
    stopped_daemon& operator=(const stopped_daemon&) = delete;
    ~stopped_daemon()
    {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    pid_t process() const { return process_; }

private:
    pid_t process_;
};
