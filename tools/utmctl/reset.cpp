#include "tools/utmctl/cf_switches.h"
#include "tools/utmctl/config_deed.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/profile.h"
#include "tools/utmctl/registry_view.h"
#include "tools/utmctl/shell_deed.h"

#include <algorithm>
#include <cstring>

namespace {

// What follows the deletion of the profiles, in order.
struct reset_step {
    const char* operation; // as the library's line names it
    const char* word;
    const char* subject;
    const char* participle;
    size_t target;
    const filter_engine* engine = nullptr;
};

constexpr reset_step steps[] = {
    {"utm_cf_global_flush", "content_filter", "the content filter", "flushed", UTM_CONFIG_TARGET_CF},
    {"utm_cf_web_safe_browsing_activate", "safe_browsing", "safe browsing", "switched off", UTM_CONFIG_TARGET_CF,
     &safe_browsing},
    {"utm_cf_web_category_activate", "web_category", "web-category filtering", "switched off", UTM_CONFIG_TARGET_CF,
     &web_category},
    {"utm_app_activate", "application_control", "application control", "switched off", UTM_CONFIG_TARGET_APP},
};

constexpr char failed_at[] = "utm_user_profile_cf_app_policy_reset is failed(";

bool tells_failure_of(const std::vector<std::string>& log, const char* operation)
{
    const std::string line = failed_at + std::string(operation) + ")";
    return std::find(log.begin(), log.end(), line) != log.end();
}

outcome profiles_step(const profile_report& report)
{
    outcome deleted = flushed_profiles(report.evidence);
    deleted.result = {{"step", "profiles"}, {"status", word_of(deleted.status)}, {"profiles", deleted.result}};
    return deleted;
}

problem step_problem(const reset_step& step, const watched_call& call)
{
    const deed_words words = {step.subject, step.participle};
    const config_daemon& daemon = config_daemons[step.target];
    problem why = step.engine != nullptr
                      ? engine_problem(*step.engine, words, call.error(), call.log)
                      : exchange_problem(not_done(words), daemon, failed_exchange_with(daemon, call.error(), call.log));
    why.what += ", and the rest of the reset was left out";
    return why;
}

outcome step_outcome(const reset_step& step, const watched_call& call, bool failed)
{
    outcome told;
    if (failed) {
        told.problems = {step_problem(step, call)};
        told.status = told.problems.front().status;
    } else {
        told.confirmations = {done(deed_words{step.subject, step.participle})};
    }
    told.result = {{"step", step.word}, {"status", word_of(told.status)}};
    return told;
}

// The log could not be written, so that nobody knows which step failed.
outcome broken_off(const watched_call& call)
{
    return {.status = exit_status::done_in_part,
            .result = {{"step", json()}, {"status", word_of(exit_status::done_in_part)}},
            .problems = {{.status = exit_status::done_in_part,
                          .what = "the reset was broken off",
                          .culprits = {{"the diagnostic log", UTM_APPCF_LOG,
                                        std::string("does not tell at which step: ") + strerror(call.error())}},
                          .next = "make it writable, then run the command again"}}};
}

// The library stops at the first step that fails, and tells in its log which one that was.
const reset_step* failed_step(const watched_call& call)
{
    const auto* step = std::find_if(std::begin(steps), std::end(steps),
                                    [&](const reset_step& one) { return tells_failure_of(call.log, one.operation); });
    return step == std::end(steps) ? nullptr : step;
}

void add_steps(outcome& sum, const watched_call& call)
{
    const reset_step* failed = failed_step(call);
    for (const reset_step& step : steps) {
        add(sum, step_outcome(step, call, &step == failed));
        if (&step == failed)
            return;
    }
    if (!call.printed.empty())
        add(sum, done_by_shell({"the kernel's filter", "switched off"}, {{"step", "kernel"}}, call.printed));
}

outcome reset(const request& asked)
{
    const profile_step whole = {{"the configuration", "reset"}, std::nullopt, judge_flushed};
    const profile_report report = carry_out(
        whole, [] { return as_json(kqutm::profiles::reset_all()); }, asked.timeout);
    if (tells_failure_of(report.call.log, "utm_user_profile_flush"))
        throw failure(registry_problem(not_done(whole), "cannot be used", report.call.error()));
    outcome sum = {.result = json::array()};
    add(sum, profiles_step(report));
    if (!report.call.result && failed_step(report.call) == nullptr)
        add(sum, broken_off(report.call));
    else
        add_steps(sum, report.call);
    return sum;
}

constexpr command commands[] = {
    {"",
     {},
     {reset, "utm_user_profile_cf_app_policy_reset"},
     "delete all profiles, flush the content filter, and switch it and application control off",
     "all profiles, the policies bound to them, and what the content filter holds",
     "reset --yes"},
};

} // namespace

constinit const family reset_family = {"reset", "the combined reset", commands};
