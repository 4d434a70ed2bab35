#include "common/sigpipe_guard.h"

#include "common/errno_guard.h"

#include <ctime>

namespace {

sigset_t only_sigpipe()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
}

bool is_pending()
{
    sigset_t pending;
    return sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1;
}

} // namespace

sigpipe_guard::sigpipe_guard()
{
    sigset_t set = only_sigpipe();
    pthread_sigmask(SIG_BLOCK, &set, &old_mask_);
    // Only a caller that blocks SIGPIPE itself can have one pending, and that one is the caller's.
    blocked_before_ = sigismember(&old_mask_, SIGPIPE) == 1;
    pending_before_ = blocked_before_ && is_pending();
}

void sigpipe_guard::consume()
{
    if (pending_before_)
        return;
    errno_guard keep;
    sigset_t set = only_sigpipe();
    const timespec at_once = {0, 0};
    while (sigtimedwait(&set, nullptr, &at_once) < 0 && errno == EINTR) {
    }
}

sigpipe_guard::~sigpipe_guard()
{
    if (blocked_before_)
        return;
    errno_guard keep;
    pthread_sigmask(SIG_SETMASK, &old_mask_, nullptr);
}
