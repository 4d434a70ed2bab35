#include "tools/utmctl/arguments.h"
#include "tools/utmctl/engine_call.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/worker.h"

#include "kqutm/common.h"

#include <unistd.h>

namespace {

std::string cause_of(const std::string& printed)
{
    return printed.empty() ? "cannot be changed"
                           : "cannot be changed: " + in_quotes(printed.substr(0, printed.find('\n')));
}

// The library returns the same whether or not it worked, so the file alone tells.
outcome switch_debug_events(const request& asked)
{
    const bool on = is_on(asked.one("STATE"));
    const std::string switched = "switched " + asked.one("STATE");
    const call_result call = call_in_worker("the recording of debug events may have been " + switched, asked.timeout,
                                            [on] { return utm_notify_debug(on ? 1 : 0); }, {.registry_lock = false});
    const bool is = access(UTM_DEBUG_EVENT_FILE, F_OK) == 0;
    if (is != on)
        throw failure({.status = exit_status::refused,
                       .what = "the recording of debug events was not " + switched,
                       .culprits = {{"its file", UTM_DEBUG_EVENT_FILE, cause_of(call.printed)}},
                       .next = "see who owns that file and its folder, and whether there is room"});
    return {.result = {{"debug_events", is}}, .confirmations = {"the recording of debug events was " + switched}};
}

constexpr command commands[] = {
    {"debug-events",
     state,
     {switch_debug_events, "utm_notify_debug"},
     "switch the recording of debug events on or off",
     nullptr,
     "sys debug-events on"},
};

} // namespace

constinit const family sys_family = {"sys", "what belongs to no daemon", commands};
