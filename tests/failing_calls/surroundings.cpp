#include "tests/failing_calls/surroundings.h"

#include "kqutm/cf.h"
#include "kqutm/daemon.h"
#include "kqutm/profile.h"

#include "sim/loopback.h"
#include "tests/counts/returned.h"
#include "tests/sandbox/descriptors.h"
#include "tests/sandbox/registry.h"
#include "tests/wrap/intercept.h"

#include <csignal>
#include <filesystem>
#include <memory>
#include <optional>

namespace failing_calls {

namespace {

// They last as long as the process, which is the operation's own.
std::optional<occupied_descriptors> occupied;
std::optional<closed_stdin> without_stdin;
std::unique_ptr<deaf_daemon> deaf;

counts::returned query_own_address()
{
    return counts::result_of([] { return utm_devid_get_device_list_by_ip("127.0.0.1"); });
}

constexpr utm_cf_config_event debug = {.code = UTM_CF_DEBUG};

counts::returned send_debug()
{
    return counts::result_of([] { return send_utm_config_event(&debug, UTM_CONFIG_TARGET_CF); });
}

void put_up_a_deaf_daemon()
{
    unlink(UTM_CF_CONFIG_SOCKET);
    deaf = std::make_unique<deaf_daemon>(UTM_CF_CONFIG_SOCKET);
}

// The daemon hangs up between connecting and writing, which raises SIGPIPE.
counts::returned send_debug_in_vain()
{
    wrap::current_plan()->before("pthread_sigmask", 1, [] { deaf->hang_up(); });
    return send_debug();
}

void block_sigpipe()
{
    sigset_t only_sigpipe;
    sigemptyset(&only_sigpipe);
    sigaddset(&only_sigpipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &only_sigpipe, nullptr);
    put_up_a_deaf_daemon();
}

counts::returned log_long_message()
{
    static const std::string text(2000, 'x');
    return counts::result_of([] { utm_log(UTM_IPS_LOG, "%s\n", text.c_str()); });
}

counts::returned log_message()
{
    return counts::result_of([] { utm_log(UTM_IPS_LOG, "text\n"); });
}

void fill_log()
{
    utm_log(UTM_IPS_LOG, "first line\n");
    std::filesystem::resize_file(UTM_IPS_LOG, 5242881);
}

void switch_filter_off()
{
    counts::run_filter();
    unlink(UTM_CF_MARKER);
}

void leave_a_command()
{
    counts::run_filter();
    write_file(UTM_CF_COMMAND_FILE, "28\n");
}

counts::returned map_without_memory()
{
    wrap::current_plan()->fail("malloc", 1, ENOMEM);
    return counts::result_of([] { return dump_utm_profile_mapping(); });
}

// One profile has policies, and there is a second one after it.
void register_two_profiles()
{
    counts::use_everything_once();
    set_slots({{profiles + 4, 8}, {cf_bindings + 3, 20}, {app_bindings + 3, 30}});
}

void run_filter_for_two_profiles()
{
    register_two_profiles();
    counts::run_filter();
}

void close_stdin()
{
    without_stdin.emplace();
}

} // namespace

std::vector<counts::operation> all_operations()
{
    using counts::daemons;
    std::vector<counts::operation> all = counts::operations();
    all.insert(
        all.end(),
        {
            // The gateway looks at its own addresses for a device that the daemon does not know.
            {.name = "utm_devid_get_device_list_by_ip",
             .call = query_own_address,
             .answer = daemons::refuse,
             .prepare = [] { sim::bring_up_loopback({}); }},
            // From 1024 on the bitmap of select is taken from the heap.
            {.name = "send_utm_config_event", .call = send_debug, .prepare = [] { occupied.emplace(1024); }},
            {.name = "send_utm_config_event", .call = send_debug_in_vain, .prepare = put_up_a_deaf_daemon},
            {.name = "send_utm_config_event", .call = send_debug_in_vain, .prepare = block_sigpipe},
            {.name = "utm_log", .call = log_long_message},
            {.name = "utm_log", .call = log_message, .prepare = fill_log},
            {.name = "utm_cf_activate", .call = CALL_OF(utm_cf_activate), .prepare = switch_filter_off},
            {.name = "__utm_cf_activate", .call = CALL_OF(__utm_cf_activate, 1), .prepare = leave_a_command},
            {.name = "mapping_without_memory", .call = map_without_memory},
            {.name = "utm_user_profile_delete",
             .call = CALL_OF(utm_user_profile_delete, 7),
             .prepare = register_two_profiles},
            {.name = "utm_user_profile_flush",
             .call = CALL_OF(utm_user_profile_flush),
             .prepare = register_two_profiles},
            {.name = "utm_user_profile_cf_app_policy_reset",
             .call = CALL_OF(utm_user_profile_cf_app_policy_reset),
             .prepare = run_filter_for_two_profiles},
            {.name = "dump_utm_profile_mapping",
             .call = CALL_OF(dump_utm_profile_mapping),
             .prepare = register_two_profiles},
            {.name = "utm_ir_flush", .call = CALL_OF(utm_ir_flush, 1), .prepare = [] { unlink("/tmp/utm_ir"); }},
            // A process without standard input gets descriptor 0, which some leave open.
            {.name = "descriptor_0_of_config", .call = send_debug, .prepare = close_stdin},
            {.name = "descriptor_0_of_page", .call = CALL_OF(utm_cf_redirect_page, "page"), .prepare = close_stdin},
            {.name = "descriptor_0_of_ir", .call = CALL_OF(utm_ir_flush, 1), .prepare = close_stdin},
            {.name = "descriptor_0_of_ips", .call = CALL_OF(utm_ips_reset), .prepare = close_stdin},
        });
    return all;
}

} // namespace failing_calls
