#include "common/sigpipe_guard.h"

#include "common/errno_guard.h"

#include <ctime>

bool sigpipe_guard::is_pending()
{
    sigset_t pending;
    return sigpending(&pending) == 0 && contains_sigpipe(pending);
}

void sigpipe_guard::consume()
{
    if (pending_before_)
        return;
    errno_guard keep;
    const timespec at_once = {0, 0};
    while (sigtimedwait(&only_sigpipe, nullptr, &at_once) == -1 && errno == EINTR) {
    }
}
