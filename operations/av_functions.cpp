#include "operations/callable.h"
#include "operations/families.h"
#include "operations/results.h"

namespace operations {

namespace {

constexpr function_row functions[] = {
    {bound<utm_av_activate>("int32_t utm_av_activate(uint32_t on)"),
     "switches the engine",
     {switch_help},
     {{av_daemon, UTM_AV_ACTIVATE}},
     engine_waits,
     answered},
    {bound<utm_av_debug>("int32_t utm_av_debug(uint32_t on)"),
     "switches the daemon's debug output",
     {switch_help},
     {{av_daemon, UTM_AV_DEBUG}},
     engine_waits,
     answered},
    {bound<utm_av_cache_set_max_size>("int32_t utm_av_cache_set_max_size(uint32_t limit)"),
     "limits the scan cache",
     {"0 to 10, in the daemon's own unit; anything else is refused"},
     {{av_daemon, UTM_AV_CACHE_SET_MAX_SIZE}},
     engine_waits,
     answered},
    {bound<utm_av_set_whitelist>("int32_t utm_av_set_whitelist(const char* entry, uint32_t operation)"),
     "sets an entry in the whitelist",
     {"the entry, which the daemon defines; cut at 33 characters; an empty one is refused",
      "0 or 1, and the daemon defines which is which; anything else is refused"},
     {{av_daemon, UTM_AV_SET_WHITELIST}},
     engine_waits,
     answered},
    {bound<utm_av_show_status>("int32_t utm_av_show_status(struct utm_av_status* out)"),
     "reads the engine's status, unless the result is -1; the daemon defines what the three words mean",
     {"where the status goes, whose first word stays as it was"},
     {{av_daemon, UTM_AV_SHOW_STATUS}},
     engine_waits,
     answered},
    {bound<utm_av_show_whitelist>("struct utm_av_entry* utm_av_show_whitelist(void)"),
     "gets the whitelist, in the order in which the daemon sends it",
     {},
     {{av_daemon, UTM_AV_SHOW_WHITELIST}},
     engine_waits,
     list_or_null,
     list_is_released},
    {bound<utm_av_show_cache>("struct utm_av_entry* utm_av_show_cache(void)"),
     "gets the scan cache, the entry that was sent last first",
     {},
     {{av_daemon, UTM_AV_SHOW_CACHE}},
     engine_waits,
     list_or_null,
     list_is_released},
    {bound<utm_av_reset>("int32_t utm_av_reset(void)"),
     "sets the engine back; the daemon defines to what",
     {},
     {{av_daemon, UTM_AV_RESET}},
     engine_waits,
     answered,
     nullptr,
     "the engine's settings and lists"},
    {bound<utm_av_flush>("int32_t utm_av_flush(void)"),
     "flushes the engine; the daemon defines what that means",
     {},
     {{av_daemon, UTM_AV_FLUSH}},
     engine_waits,
     answered,
     nullptr,
     "what the daemon flushes"},
};

} // namespace

std::span<const function_row> av_functions()
{
    return functions;
}

} // namespace operations
