#include "tools/utmctl/lock_view.h"
#include "tools/utmctl/probe.h"
#include "tools/utmctl/process_name.h"
#include "tools/utmctl/registry_audit.h"
#include "tools/utmctl/registry_view.h"
#include "tools/utmctl/remedy.h"
#include "tools/utmctl/shared_memory.h"

#include <cerrno>
#include <climits>
#include <cstddef>
#include <set>

// How the registry does: its slots, what the daemons know of them, and its lock.

namespace {

// A request that reads something of one profile, which a daemon refuses that does not know it.
struct profile_question {
    const operations::daemon_row& daemon;
    service who;
    uint8_t code;
};

// The user-profile daemon can be asked nothing, and no daemon tells of a policy.
constexpr profile_question profile_questions[] = {
    {operations::cf_daemon, {"content-filter", UTM_CF_CONFIG_SOCKET}, UTM_CF_GET_BROWSED_DOMAINS},
    {operations::app_daemon, {"application", UTM_APP_CONFIG_SOCKET}, UTM_APP_GET_DAILY_LIMIT_ENABLE},
};

static_assert(offsetof(utm_cf_config_event, body) == offsetof(utm_app_config_event, body));

probe ask_for(uint32_t profile, const profile_question& question, double seconds)
{
    operations::record request(question.daemon.request_size);
    request[0] = question.code;
    operations::put_number(request, offsetof(utm_cf_config_event, body), sizeof profile, profile);
    return exchange_with(question.daemon, request, seconds);
}

finding not_compared(const service& who, const probe& seen)
{
    return {severity::note,
            "the profiles were not compared with those of " + name_of(who) + ", which " + seen.failed.cause,
            remedy_for(who, seen)};
}

finding unknown_to(const service& who, uint32_t profile, unsigned code)
{
    const std::string number = std::to_string(profile);
    return {severity::warning,
            name_of(who) + " refuses to tell of profile " + number + " with error code " + std::to_string(code) +
                ", and may not know it",
            "if the daemon's own log tells so, 'utmctl registry release profile " + number +
                "' and 'utmctl profile create " + number + "'"};
}

findings compare(const profile_question& question, const std::set<uint32_t>& profiles, double seconds)
{
    findings found;
    for (const uint32_t profile : profiles) {
        const probe seen = ask_for(profile, question, seconds);
        if (!seen.works())
            return {not_compared(question.who, seen)};
        if (seen.reply[0] != UTM_RESPONSE_OK)
            found.push_back(unknown_to(question.who, profile, seen.reply[0]));
    }
    return found;
}

// No daemon was ever told of an identifier that reads as a failure.
std::set<uint32_t> profiles_in(const utm_id_registry& registry)
{
    std::set<uint32_t> profiles(std::begin(registry.profiles), std::end(registry.profiles));
    profiles.erase(0);
    std::erase_if(profiles, [](uint32_t id) { return id > INT32_MAX; });
    return profiles;
}

void demand_key_file(const std::string& what)
{
    if (!key_of(UTM_ID_SEGMENT_PROJECT))
        throw failure(registry_problem(what, "cannot be used", errno));
}

json json_of_process(int process)
{
    return {{"pid", process}, {"name", own_name_of_process(process)}};
}

const char* word_of(process_state state)
{
    switch (state) {
    case process_state::ended:
        return "ended";
    case process_state::stopped:
        return "stopped";
    case process_state::alive:
        return "alive";
    }
    return "";
}

const char* how_held(process_state state)
{
    switch (state) {
    case process_state::ended:
        return " has ended without giving back the registry lock";
    case process_state::stopped:
        return " holds the registry lock, and is stopped";
    case process_state::alive:
        return " holds the registry lock";
    }
    return "";
}

void tell_holder(outcome& told, const lock_view& seen)
{
    const process_state state = state_of_process(seen.process);
    told.result["holder"] = json_of_process(seen.process);
    told.result["holder"]["state"] = word_of(state);
    told.lines.push_back(name_of_process(seen.process) + how_held(state));
}

void tell_waiting(outcome& told, const lock_view& seen)
{
    if (seen.waiting == 0)
        return;
    for (const int process : waiting_for(seen)) {
        told.result["waiters"].push_back(json_of_process(process));
        told.lines.push_back(name_of_process(process) + " waits for it");
    }
    const auto unknown = seen.waiting - static_cast<int>(told.result["waiters"].size());
    if (unknown > 0)
        told.lines.push_back(std::to_string(unknown) + " more that cannot be named wait for it");
}

void tell_lock(outcome& told, const lock_view& seen)
{
    if (seen.taken())
        tell_holder(told, seen);
    else if (seen.for_several())
        told.lines = {"the registry lock " + several_may_hold(seen)};
    else
        told.lines = {"the registry lock is free"};
    tell_waiting(told, seen);
}

} // namespace

outcome audit_registry(const request& asked)
{
    const std::string what = "the registry was not audited";
    demand_key_file(what);
    outcome told = {.result = json::array()};
    if (!find_segment(UTM_ID_SEGMENT_PROJECT)) {
        told.confirmations = {"there is no registry yet"};
        return told;
    }
    const utm_id_registry registry = read_registry(what, asked.timeout);
    tell(told, audit_slots(registry));
    for (const profile_question& question : profile_questions)
        tell(told, compare(question, profiles_in(registry), asked.timeout));
    if (told.lines.empty())
        told.confirmations = {"nothing wrong"};
    return told;
}

outcome show_lock(const request&)
{
    demand_key_file("the registry lock was not looked at");
    const std::optional<lock_view> seen = look_at(registry_lock);
    if (!seen && errno != ENOENT)
        throw failure(registry_problem("the registry lock was not looked at", "is closed", errno));
    outcome told = {.result = {{"value", seen ? json(seen->value) : json()},
                               {"holder", nullptr},
                               {"waiting", seen ? seen->waiting : 0},
                               {"waiters", json::array()}}};
    if (!seen)
        told.lines = {"there is no registry lock yet"};
    else
        tell_lock(told, *seen);
    return told;
}
