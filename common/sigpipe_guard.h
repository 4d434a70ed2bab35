#pragma once

#include <csignal>

// Keeps the SIGPIPE of a write or send inside the calling thread, without touching the process's signal dispositions.
// Costs two system calls while SIGPIPE is not blocked already.
class sigpipe_guard {
public:
    sigpipe_guard();
    sigpipe_guard(const sigpipe_guard&) = delete;
    sigpipe_guard& operator=(const sigpipe_guard&) = delete;
    ~sigpipe_guard();

    // Takes back the signal that an EPIPE has raised. Call it after each such failure, before the guard ends.
    void consume();

private:
    bool blocked_before_;
    bool pending_before_;
    sigset_t old_mask_;
};
