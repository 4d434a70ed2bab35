#pragma once

#include "kqutm/registry.h"

#include <csignal>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

inline void take_registry_lock()
{
    utm_id_config_lock(init_utm_id_config_sem());
}

inline void take_uuid_lock()
{
    utm_commoc_lock(init_utm_common_sem());
}

// Holds a lock until it goes, in a process of its own, which is stopped.
class stopped_lock_holder {
public:
    explicit stopped_lock_holder(void (*take_lock)() = take_registry_lock) : process_(fork())
    {
        if (process_ == 0) {
            take_lock();
            raise(SIGSTOP);
            for (;;)
                pause();
        }
        int status;
        waitpid(process_, &status, WUNTRACED);
    }
    stopped_lock_holder(const stopped_lock_holder&) = delete;
    stopped_lock_holder& operator=(const stopped_lock_holder&) = delete;
    ~stopped_lock_holder()
    {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }

    pid_t process() const { return process_; }

    // From now on it only sleeps.
    void go_on() const { kill(process_, SIGCONT); }

    // What utmctl says when it does not get the lock in so many seconds.
    std::string told_within(const std::string& seconds) const { return told_of("the registry lock", seconds); }
    std::string told_of(const std::string& lock, const std::string& seconds) const
    {
        const std::string number = std::to_string(process_);
        return lock + " was not given within " + seconds + " s: process " + number +
               " (test_utmctl) is stopped and holds it; continue it with 'kill -CONT " + number +
               "', or end it, then run the command again\n";
    }

private:
    pid_t process_;
};
