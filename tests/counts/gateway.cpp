// The gateway on which the operations are called.

#include "kqutm/common.h"
#include "kqutm/registry.h"

#include "sim/process.h"
#include "tests/counts/operations.h"
#include "tests/engines/devices.h"
#include "tests/sandbox/registry.h"

#include <csignal>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>

namespace counts {

namespace {

// Three entries of a list, and its end.
records streamed(const sim::bytes& entry, const sim::bytes& end)
{
    return {entry, entry, entry, end};
}

sim::script twice(const sim::script& once)
{
    sim::script both = once;
    both.insert(both.end(), once.begin(), once.end());
    return both;
}

// A domain has to end somewhere.
sim::bytes config_entry()
{
    sim::bytes record = reply(2);
    put_text(record, 288, std::string("domain") + '\0');
    return record;
}

struct service {
    const char* path;
    records accepting;
    records streaming;
    records refusing;
};

// Of the lists, the refusal is the end; that of IPS tells that the daemon holds as many rules as it can.
std::vector<service> services()
{
    const service config = {"", {reply(0)}, streamed(config_entry(), reply(0)), {reply(9)}};
    return {
        {cf_path, config.accepting, config.streaming, config.refusing},
        {app_path, config.accepting, config.streaming, config.refusing},
        {user_profile_path, config.accepting, config.streaming, config.refusing},
        {ips_path, {ips_reply(0)}, streamed(ips_reply(1), ips_reply(0)), {ips_reply(-1)}},
        {devid_path, {devid_reply(0)}, streamed(device("device"), end_marker()), {devid_reply(-1)}},
        {av_path, {av_reply(0)}, streamed(av_reply(0), av_reply(-1)), {av_reply(-1)}},
        {ir_path, {ir_reply(0)}, streamed(ir_reply(0), ir_reply(1)), {ir_reply(1)}},
    };
}

const records& chosen(const service& service, daemons what)
{
    switch (what) {
    case daemons::accept:
        return service.accepting;
    case daemons::stream:
        return service.streaming;
    case daemons::refuse:
        return service.refusing;
    }
    abort();
}

[[noreturn]] void run_daemons(daemons what, const std::function<void()>& ready)
{
    std::vector<std::unique_ptr<engine_daemon>> all;
    for (const service& service : services())
        all.push_back(std::make_unique<engine_daemon>(service.path, twice(answer(chosen(service, what)))));
    ready();
    for (;;)
        pause();
}

} // namespace

gateway::gateway(daemons what)
    : process_(
          sim::start_until_ready("the daemons", {}, [what](const auto& ready) -> int { run_daemons(what, ready); }))
{
}

gateway::~gateway()
{
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
}

void use_everything_once()
{
    for (const char* log : {UTM_IPS_LOG, UTM_DEVID_LOG, UTM_APPCF_LOG, UTM_COMMON_LOG})
        utm_log(log, "first line\n");
    utm_uuid_set("uuid");
    write_file(UTM_ID_MARKER, "");
    set_slots({{profiles + 3, 7}, {cf_policies + 5, 20}, {app_policies + 6, 30}});
    check_shm_utm_id(7, UTM_ID_USER_PROFILE);
}

} // namespace counts
