#pragma once

#include "common/errno_guard.h"

#include <array>
#include <bit>
#include <csignal>
#include <cstring>

// Keeps the SIGPIPE of a write or send inside the calling thread, without touching the process's signal dispositions.
// Costs two system calls while SIGPIPE is not blocked already.
class sigpipe_guard {
public:
    sigpipe_guard()
    {
        pthread_sigmask(SIG_BLOCK, &only_sigpipe, &old_mask_);
        // Only a caller that blocks SIGPIPE itself can have one pending, and that one is the caller's.
        blocked_before_ = contains_sigpipe(old_mask_);
        pending_before_ = blocked_before_ && is_pending();
    }
    sigpipe_guard(const sigpipe_guard&) = delete;
    sigpipe_guard& operator=(const sigpipe_guard&) = delete;
    ~sigpipe_guard()
    {
        if (blocked_before_)
            return;
        errno_guard keep; // from a handler of the caller's that has waited
        pthread_sigmask(SIG_SETMASK, &old_mask_, nullptr);
    }

    // Takes back the signal that an EPIPE has raised. Call it after each such failure, before the guard ends.
    void consume();

private:
    // A set has a bit for each signal, as the kernel reads it; that of SIGPIPE is in the first word.
    using set_words = std::array<unsigned long, sizeof(sigset_t) / sizeof(unsigned long)>;
    static constexpr unsigned long sigpipe_bit = 1UL << (SIGPIPE - 1);
    static constexpr sigset_t only_sigpipe = std::bit_cast<sigset_t>(set_words{sigpipe_bit});

    static bool contains_sigpipe(const sigset_t& set)
    {
        unsigned long first_word;
        memcpy(&first_word, &set, sizeof first_word);
        return (first_word & sigpipe_bit) != 0;
    }
    static bool is_pending();

    sigset_t old_mask_;
    bool blocked_before_;
    bool pending_before_;
};
