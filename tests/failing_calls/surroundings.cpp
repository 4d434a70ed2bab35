#include "tests/failing_calls/surroundings.h"

#include "kqutm/daemon.h"

#include "sim/loopback.h"
#include "tests/counts/returned.h"
#include "tests/sandbox/descriptors.h"
#include "tests/wrap/intercept.h"

#include <memory>
#include <optional>

namespace failing_calls {

namespace {

// They last as long as the process, which is the operation's own.
std::optional<occupied_descriptors> occupied;
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

} // namespace

std::vector<counts::operation> all_operations()
{
    using counts::daemons;
    std::vector<counts::operation> all = counts::operations();
    all.insert(all.end(),
               {
                   // The gateway looks at its own addresses for a device that the daemon does not know.
                   {.name = "utm_devid_get_device_list_by_ip",
                    .call = query_own_address,
                    .answer = daemons::refuse,
                    .prepare = [] { sim::bring_up_loopback({}); }},
                   // From 1024 on the bitmap of select is taken from the heap.
                   {.name = "send_utm_config_event", .call = send_debug, .prepare = [] { occupied.emplace(1024); }},
                   {.name = "send_utm_config_event", .call = send_debug_in_vain, .prepare = put_up_a_deaf_daemon},
               });
    return all;
}

} // namespace failing_calls
