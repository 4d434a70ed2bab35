// The switch of the gateway's debug events: a file whose existence counts.

#include "kqutm/common.h"

#include "common/errno_guard.h"
#include "common/shell.h"

#include <unistd.h>

UTM_API int32_t utm_notify_debug(int on)
{
    constexpr size_t command_size = 64;
    errno_guard keep;
    // Deliberate: the command is the "touch" of the search path.
    if (on != 0)
        run_shell<command_size>("touch %s", UTM_DEBUG_EVENT_FILE);
    else
        unlink(UTM_DEBUG_EVENT_FILE);
    return 0;
}
