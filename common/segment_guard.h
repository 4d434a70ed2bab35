#pragma once

#include "common/errno_guard.h"
#include "common/log.h"
#include "common/system_v.h"

// A shared segment, locked from construction to destruction where that is possible. Callers answer differently to one
// that cannot be locked and to one that cannot be attached, so the two are told apart.
//
// Shared names the segment: its contents, semaphore() and attach(), and what is logged where when it cannot be
// attached.
template <class Shared> class segment_guard {
public:
    using contents = typename Shared::contents;

    segment_guard() : semid_(Shared::semaphore()), locked_(semid_ >= 0 && lock_through_signals(semid_)) {}
    segment_guard(const segment_guard&) = delete;
    segment_guard& operator=(const segment_guard&) = delete;
    ~segment_guard()
    {
        errno_guard keep;
        release();
    }

    bool locked() const { return locked_; }

    // The contents, or null when the segment cannot be attached; attach logs that.
    contents* attach_unlogged() { return contents_ = Shared::attach(); }
    contents* attach()
    {
        if (attach_unlogged() == nullptr)
            utm_log(Shared::log, Shared::attach_failed);
        return contents_;
    }

    // Lets release leave the segment attached.
    void keep_attached() { contents_ = nullptr; }

    // Leaves the segment as it is: attached, and locked until the process ends.
    void abandon()
    {
        keep_attached();
        locked_ = false;
    }

    // Detaches and unlocks. False when unlocking failed.
    bool release()
    {
        detach_segment(contents_);
        contents_ = nullptr;
        if (!locked_)
            return true;
        locked_ = false;
        return change_semaphore(semid_, 1) == 0;
    }

private:
    int semid_;
    bool locked_;
    contents* contents_ = nullptr;
};
