#pragma once

#include "kqutm/registry.h"

#include "tests/utmctl/stopped_process.h"

#include <string>

inline void take_registry_lock()
{
    utm_id_config_lock(init_utm_id_config_sem());
}

inline void take_uuid_lock()
{
    utm_commoc_lock(init_utm_common_sem());
}

// Holds a lock until it goes, in a process of its own, which is stopped.
class stopped_lock_holder : public stopped_process {
public:
    explicit stopped_lock_holder(void (*take_lock)() = take_registry_lock)
        : stopped_process([take_lock] {
              take_lock();
              raise(SIGSTOP);
              for (;;)
                  pause();
          })
    {
    }

    // From now on it only sleeps.
    void go_on() const { kill(process(), SIGCONT); }

    // What utmctl says when it does not get the lock in so many seconds.
    std::string told_within(const std::string& seconds) const { return told_of("the registry lock", seconds); }
    std::string told_of(const std::string& lock, const std::string& seconds) const
    {
        const std::string number = std::to_string(process());
        return lock + " was not given within " + seconds + " s: process " + number +
               " (test_utmctl) is stopped and holds it; continue it with 'kill -CONT " + number +
               "', or end it, then run the command again\n";
    }
};
