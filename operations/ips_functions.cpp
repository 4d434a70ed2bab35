#include "operations/callable.h"
#include "operations/families.h"
#include "operations/results.h"

namespace operations {

namespace {

constexpr char rule_help[] = "the rule's identifier, in the daemon's own terms; cut at 10 characters";
constexpr char action_help[] = "0 or 1, and the daemon defines which is which; anything else is refused";

constexpr meaning reply_values[] = {{"a block", "the daemon's whole reply, with result -1 where none came"},
                                    {"null", "the daemon could not be asked, or memory is short"}};
constexpr result_kind reply_or_null = {fails::null, reply_values, exchange_causes};
constexpr char reply_is_released[] = "the block is released";

constexpr function_row functions[] = {
    {bound<utm_ips_activate>("int32_t utm_ips_activate(uint32_t on)"),
     "switches the engine",
     {switch_help},
     {{ips_daemon, UTM_IPS_ACTIVATE}},
     engine_waits,
     answered},
    {bound<utm_ips_show_status>("struct utm_ips_message* utm_ips_show_status(void)"),
     "asks for the engine's status: the whole reply, whose contents the daemon defines but for the result",
     {},
     {{ips_daemon, UTM_IPS_SHOW_STATUS}},
     engine_waits,
     reply_or_null,
     reply_is_released},
    {bound<utm_ips_set_whitelist>("int32_t utm_ips_set_whitelist(const char* rule, uint32_t action)"),
     "sets a rule in the whitelist",
     {rule_help, action_help},
     {{ips_daemon, UTM_IPS_SET_WHITELIST}},
     engine_waits,
     answered},
    {bound<utm_ips_set_blacklist>("int32_t utm_ips_set_blacklist(const char* rule, uint32_t action)"),
     "sets a rule in the blacklist",
     {rule_help, action_help},
     {{ips_daemon, UTM_IPS_SET_BLACKLIST}},
     engine_waits,
     answered},
    {bound<utm_ips_show_customizelist>("struct utm_ips_rule* utm_ips_show_customizelist(void)"),
     "gets the customized rules, in the order in which the daemon sends them",
     {},
     {{ips_daemon, UTM_IPS_SHOW_CUSTOMIZELIST}},
     engine_waits,
     list_or_null,
     list_is_released},
    {bound<utm_ips_update_signature>("int32_t utm_ips_update_signature(const char* path)"),
     "has the daemon load a signature file",
     {path_for_daemon("the file, which the daemon opens; cut at 255 characters")},
     {{ips_daemon, UTM_IPS_UPDATE_SIGNATURE}},
     engine_waits,
     answered},
    {bound<utm_ips_debug>("int32_t utm_ips_debug(uint32_t on)"),
     "switches the daemon's debugging",
     {switch_help},
     {{ips_daemon, UTM_IPS_DEBUG}},
     engine_waits,
     answered},
    {bound<utm_ips_reset>("int32_t utm_ips_reset(void)"),
     "sets the engine back; the daemon defines to what",
     {},
     {{ips_daemon, UTM_IPS_RESET}},
     engine_waits,
     answered,
     nullptr,
     "the engine's settings"},
    {bound<utm_ips_flush>("int32_t utm_ips_flush(uint32_t mode)"),
     "flushes what the daemon defines for the mode",
     {"0, 1 or 2; anything else is refused"},
     {{ips_daemon, UTM_IPS_FLUSH}},
     engine_waits,
     answered,
     nullptr,
     "what the mode stands for"},
};

} // namespace

std::span<const function_row> ips_functions()
{
    return functions;
}

} // namespace operations
