#include "operations/callable.h"
#include "operations/families.h"
#include "operations/results.h"

namespace operations {

namespace {

constexpr char policy_help[] = "the policy's identifier; the registry is not asked about it";
constexpr char url_help[] = "up to 2047 characters; longer ones are refused";
constexpr char text_help[] = "up to 511 characters; longer ones are refused";
constexpr char shell_path_help[] = "the file; a shell sees it unquoted";

constexpr char filter_follows[] = "utm_cf_activate: the filter as a whole follows";

constexpr char commands_filter[] =
    "up to 10 s for an earlier command that the daemon has not taken; for the lock of the command file without a limit";
constexpr char switches[] = "up to 10 s for an earlier command that the daemon has not taken, for the lock of the "
                            "command file without a limit, "
                            "and then as every operation that tells one daemon";
constexpr char runs_shell[] = "as long as four short shell commands take";

constexpr meaning zero_value[] = {{"0", "always: whether kernel and daemon followed is not looked at"}};
constexpr result_kind always_zero = {fails::never, zero_value};

constexpr function_row functions[] = {
    {bound<utm_cf_policy_create>("int32_t utm_cf_policy_create(int32_t id)"),
     "creates a content-filter policy in the registry, then in the daemon",
     {{new_id_help, UTM_ID_CF_POLICY, true}},
     {first_use,
      reserved,
      {cf_daemon, UTM_CF_POLICY_CREATE},
      change_of_registry("registry: the number released as both kinds of policy, where the daemon refused")},
     tells_one_after_registry,
     created},
    {bound<utm_cf_policy_config_block, told_released, argument<int32_t>, bytes<UTM_CF_BLOCK_SIZE>>(
         "int32_t utm_cf_policy_config_block(int32_t id, const void* block)"),
     "sets a policy's category block",
     {{registered_policy_help, UTM_ID_CF_POLICY}, "128 bytes, sent unchanged"},
     {"registry: asked for the policy", {cf_daemon, UTM_CF_POLICY_BLOCK}},
     tells_one_after_registry,
     accepted_if_registered},
    {bound<utm_cf_add_trusted_url>("int32_t utm_cf_add_trusted_url(const char* url)"),
     "adds a URL to the trusted ones of all policies",
     {url_help},
     {{cf_daemon, UTM_CF_ADD_TRUSTED_URL}},
     tells_one,
     accepted},
    {bound<utm_cf_add_forbidden_url>("int32_t utm_cf_add_forbidden_url(const char* url)"),
     "adds a URL to the forbidden ones of all policies",
     {url_help},
     {{cf_daemon, UTM_CF_ADD_FORBIDDEN_URL}},
     tells_one,
     accepted},
    {bound<utm_cf_del_trusted_url>("int32_t utm_cf_del_trusted_url(const char* url)"),
     "takes a URL off the trusted ones of all policies",
     {url_help},
     {{cf_daemon, UTM_CF_DELETE_TRUSTED_URL}},
     tells_one,
     accepted},
    {bound<utm_cf_del_forbidden_url>("int32_t utm_cf_del_forbidden_url(const char* url)"),
     "takes a URL off the forbidden ones of all policies",
     {url_help},
     {{cf_daemon, UTM_CF_DELETE_FORBIDDEN_URL}},
     tells_one,
     accepted},
    {bound<utm_cf_policy_add_trusted_domain>(
         "int32_t utm_cf_policy_add_trusted_domain(int32_t policy, const char* text)"),
     "adds a trusted domain to a policy",
     {policy_help, text_help},
     {{cf_daemon, UTM_CF_ADD_TRUSTED_DOMAIN}},
     tells_one,
     accepted},
    {bound<utm_cf_policy_del_trusted_domain>(
         "int32_t utm_cf_policy_del_trusted_domain(int32_t policy, const char* text)"),
     "takes a trusted domain off a policy",
     {policy_help, text_help},
     {{cf_daemon, UTM_CF_DELETE_TRUSTED_DOMAIN}},
     tells_one,
     accepted},
    {bound<utm_cf_policy_add_forbidden_domain>(
         "int32_t utm_cf_policy_add_forbidden_domain(int32_t policy, const char* text)"),
     "adds a forbidden domain to a policy",
     {policy_help, text_help},
     {{cf_daemon, UTM_CF_ADD_FORBIDDEN_DOMAIN}},
     tells_one,
     accepted},
    {bound<utm_cf_policy_del_forbidden_domain>(
         "int32_t utm_cf_policy_del_forbidden_domain(int32_t policy, const char* text)"),
     "takes a forbidden domain off a policy",
     {policy_help, text_help},
     {{cf_daemon, UTM_CF_DELETE_FORBIDDEN_DOMAIN}},
     tells_one,
     accepted},
    {bound<utm_cf_policy_add_domain_keyword>(
         "int32_t utm_cf_policy_add_domain_keyword(int32_t policy, const char* text)"),
     "adds a domain keyword to a policy",
     {policy_help, text_help},
     {{cf_daemon, UTM_CF_ADD_DOMAIN_KEYWORD}},
     tells_one,
     accepted},
    {bound<utm_cf_policy_del_domain_keyword>(
         "int32_t utm_cf_policy_del_domain_keyword(int32_t policy, const char* text)"),
     "takes a domain keyword off a policy",
     {policy_help, text_help},
     {{cf_daemon, UTM_CF_DELETE_DOMAIN_KEYWORD}},
     tells_one,
     accepted},
    {bound<utm_cf_web_safe_browsing_activate>("int32_t utm_cf_web_safe_browsing_activate(int32_t value)"),
     "switches safe browsing",
     {"0 off, every other value on; keep to 0 and 1"},
     {"file: the value written to " UTM_CF_WEB_SAFE_BROWSING_FILE,
      filter_follows,
      {cf_daemon, UTM_CF_WEB_SAFE_BROWSING_ACTIVATE}},
     switches,
     accepted},
    {bound<utm_cf_web_category_activate>("int32_t utm_cf_web_category_activate(int32_t value)"),
     "switches web-category filtering",
     {"0 off, every other value on; keep to 0 and 1"},
     {"file: the value written to " UTM_CF_WEB_CATEGORY_FILE,
      filter_follows,
      {cf_daemon, UTM_CF_WEB_CATEGORY_ACTIVATE}},
     switches,
     accepted},
    {bound<utm_cf_activate>("int32_t utm_cf_activate(void)"),
     "makes the filter as a whole follow its two engines",
     {},
     {"file: both engines' files read",
      "__utm_cf_activate: called, and " UTM_CF_MARKER " made or removed, where that changes the state"},
     commands_filter,
     done_or_not},
    {bound<__utm_cf_activate>("int32_t __utm_cf_activate(int32_t mode)"),
     "switches the kernel, and commands the daemon, without a look at the engines' files",
     {"0 off, 1 on; every other mode switches the kernel on and commands the daemon off"},
     {"file: " UTM_CF_KERNEL_ENABLE " and " UTM_CF_KERNEL_HDF_ENABLE " written",
      "file: the command written to " UTM_CF_COMMAND_FILE,
      "signal: SIGHUP to the process that " UTM_CF_PID_FILE " names"},
     commands_filter,
     always_zero},
    {bound<dump_cf_activate, told_released, shell_path>("void dump_cf_activate(const char* path)"),
     "appends the kernel's two switches to a file",
     {shell_path_help},
     {"shell: four commands that append to the file"},
     runs_shell,
     nothing_told},
    {bound<utm_cf_redirect_page>("int32_t utm_cf_redirect_page(const char* text)"),
     "sets the page that blocked requests are redirected to",
     {"up to 1023 characters, written without a terminator; an empty text writes one zero byte"},
     {"file: " UTM_CF_KERNEL_REDIRECT_URL " written"},
     waits_not,
     done_or_not},
    {bound<utm_cf_dump_all, told_released, shell_path>("int32_t utm_cf_dump_all(const char* path)"),
     "writes the content filter's configuration to a file, anew",
     {dump_path_help},
     {first_use,
      "shell: date and kernel switches",
      "registry: profiles and policies, each by a shell command under the lock",
      {cf_daemon, UTM_CF_DUMP}},
     dumps,
     accepted},
    {bound<utm_cf_debug>("int32_t utm_cf_debug(int32_t value)"),
     "hands the daemon a debug value",
     {"the value, which the daemon defines"},
     {{cf_daemon, UTM_CF_DEBUG}},
     tells_one,
     accepted},
    {bound<utm_cf_global_flush>("int32_t utm_cf_global_flush(int32_t type)"),
     "flushes the whole content filter",
     {"what is flushed, which the daemon defines"},
     {{cf_daemon, UTM_CF_GLOBAL_FLUSH}},
     tells_one,
     accepted,
     nullptr,
     "what the type stands for"},
    {bound<utm_cf_policy_flush>("int32_t utm_cf_policy_flush(int32_t type, int32_t policy)"),
     "flushes one policy, or with 0 whatever the daemon takes that for",
     {"what is flushed, which the daemon defines",
      {"the policy's identifier, which has to be registered, or 0", UTM_ID_CF_POLICY}},
     {"registry: asked for the policy, unless it is 0", {cf_daemon, UTM_CF_POLICY_FLUSH}},
     tells_one_after_registry,
     accepted_if_registered,
     nullptr,
     "what the type stands for"},
};

} // namespace

std::span<const function_row> cf_functions()
{
    return functions;
}

} // namespace operations
