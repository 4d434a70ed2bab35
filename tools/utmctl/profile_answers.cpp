#include "tools/utmctl/profile_answers.h"

#include "tools/utmctl/registry_view.h"

#include <algorithm>
#include <iterator>

namespace {

using answer = profile_answers::answer;
using targets = std::vector<size_t>;

void place(profile_answers& answers, size_t target, failed_exchange failure)
{
    answers.given[target] = answer::failed;
    answers.failures[target] = std::move(failure);
}

// Takes the failure of the daemon that decides the result: the last one told, so the last one in the log.
void place_deciding(profile_answers& answers, size_t target, profile_evidence& evidence)
{
    if (!evidence.error)
        return;
    failed_exchange failure = exchange_failure(*evidence.error);
    if (!evidence.failures.empty() && evidence.failures.back().status == failure.status) {
        failure = evidence.failures.back();
        evidence.failures.pop_back();
    }
    answers.status = failure.status;
    place(answers, target, failure);
}

targets unreachable_now(const targets& candidates)
{
    targets found;
    std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(found),
                 [](size_t target) { return !accepts_connections(config_daemons[target]); });
    return found;
}

bool all_unreachable(const std::vector<failed_exchange>& failures)
{
    return std::all_of(failures.begin(), failures.end(),
                       [](const failed_exchange& one) { return one.status == exit_status::unreachable; });
}

// The candidates were told in order, so their failures stand in the same order.
void place_others(profile_answers& answers, const targets& candidates, std::vector<failed_exchange> failures)
{
    if (failures.empty())
        return;
    targets failed = candidates;
    if (failures.size() < candidates.size() && all_unreachable(failures))
        failed = unreachable_now(candidates);
    if (failures.size() == failed.size()) {
        for (size_t i = 0; i < failed.size(); ++i)
            place(answers, failed[i], failures[i]);
        return;
    }
    for (size_t target : candidates)
        answers.given[target] = answer::open;
    answers.unplaced = std::move(failures);
}

bool unanimous(const profile_answers& answers)
{
    return std::all_of(answers.given.begin(), answers.given.end(), [](answer one) { return one == answer::accepted; });
}

profile_answers with_status(profile_answers answers)
{
    if (answers.status == exit_status::done && !unanimous(answers))
        answers.status = exit_status::done_in_part;
    return answers;
}

// Which of the two daemons that free a policy refused, by the bindings: each acceptance frees a bound policy.
std::optional<size_t> refuser_by_bindings(const profile_evidence& evidence)
{
    const auto& profiles = evidence.before.profiles;
    const uint32_t* slot = std::find(std::begin(profiles), std::end(profiles), static_cast<uint32_t>(evidence.id));
    if (slot == std::end(profiles))
        return {};
    const auto at = slot - profiles;
    if (evidence.before.cf_bindings[at] != 0)
        return evidence.after.cf_bindings[at] == 0 ? UTM_CONFIG_TARGET_APP : UTM_CONFIG_TARGET_CF;
    if (evidence.before.app_bindings[at] != 0)
        return evidence.after.app_bindings[at] == 0 ? UTM_CONFIG_TARGET_CF : UTM_CONFIG_TARGET_APP;
    return {};
}

bool is_about_application(const failed_exchange& failure)
{
    return failure.report.find("(app)") != std::string::npos;
}

} // namespace

profile_answers judge_create(profile_evidence evidence)
{
    profile_answers answers;
    place_deciding(answers, UTM_CONFIG_TARGET_APP, evidence);
    const targets others = {UTM_CONFIG_TARGET_CF, UTM_CONFIG_TARGET_USER_PROFILE};
    place_others(answers, others, evidence.failures);
    const bool released = !is_registered(evidence.after, UTM_ID_USER_PROFILE, evidence.id);
    if (!evidence.error && released && unanimous(answers)) {
        // The registry proves a failure that the log does not hold.
        place_others(answers, others,
                     {{exit_status::done_in_part, "failed, for a reason that the log does not hold", ""}});
    }
    return with_status(answers);
}

profile_answers judge_delete(profile_evidence evidence)
{
    profile_answers answers;
    evidence.failures = failures_of(evidence.failures, evidence.id);
    place_deciding(answers, UTM_CONFIG_TARGET_USER_PROFILE, evidence);
    const std::optional<size_t> refuser = refuser_by_bindings(evidence);
    if (evidence.failures.size() == 1 && refuser)
        place(answers, *refuser, evidence.failures.front());
    else
        place_others(answers, {UTM_CONFIG_TARGET_CF, UTM_CONFIG_TARGET_APP}, evidence.failures);
    return with_status(answers);
}

profile_answers judge_device(profile_evidence evidence)
{
    profile_answers answers;
    evidence.failures = failures_of(evidence.failures, evidence.id);
    place_deciding(answers, UTM_CONFIG_TARGET_USER_PROFILE, evidence);
    for (const failed_exchange& one : evidence.failures)
        place(answers, is_about_application(one) ? UTM_CONFIG_TARGET_APP : UTM_CONFIG_TARGET_CF, one);
    return with_status(answers);
}

profile_answers judge_flushed(profile_evidence evidence)
{
    profile_answers answers;
    std::vector<failed_exchange> failures = failures_of(evidence.failures, evidence.id);
    place_others(answers, {UTM_CONFIG_TARGET_CF, UTM_CONFIG_TARGET_APP, UTM_CONFIG_TARGET_USER_PROFILE}, failures);
    if (failures.size() == config_daemons.size())
        answers.status = failures.back().status;
    return with_status(answers);
}

std::vector<failed_exchange> failures_of(const std::vector<failed_exchange>& all, int32_t id)
{
    const std::string mark = "(id = " + std::to_string(id) + ")";
    std::vector<failed_exchange> own;
    std::copy_if(all.begin(), all.end(), std::back_inserter(own),
                 [&](const failed_exchange& one) { return one.report.ends_with(mark); });
    return own;
}

json json_of(const profile_answers& answers)
{
    json value;
    for (size_t target = 0; target < config_daemons.size(); ++target) {
        const bool failed = answers.given[target] == answer::failed;
        const char* word = answers.given[target] == answer::accepted ? "accepted" : "unknown";
        value[config_daemons[target].word] = failed ? word_of(answers.failures[target].status) : word;
    }
    return value;
}

std::vector<culprit> culprits_of(const profile_answers& answers)
{
    std::vector<culprit> culprits;
    std::string open;
    for (size_t target = 0; target < config_daemons.size(); ++target) {
        const config_daemon& daemon = config_daemons[target];
        if (answers.given[target] == answer::failed)
            culprits.push_back(
                {std::string("the ") + daemon.name + " daemon", daemon.socket, answers.failures[target].cause});
        if (answers.given[target] == answer::open)
            open += (open.empty() ? "the " : " or the ") + std::string(daemon.name);
    }
    for (const failed_exchange& one : answers.unplaced)
        culprits.push_back({open + " daemon", "", one.cause});
    return culprits;
}

std::string accepted_by(const profile_answers& answers)
{
    std::vector<std::string> names;
    for (size_t target = 0; target < config_daemons.size(); ++target) {
        if (answers.given[target] == answer::accepted)
            names.emplace_back(config_daemons[target].name);
    }
    if (names.empty())
        return "";
    std::string text = "the " + names.front();
    for (size_t i = 1; i < names.size(); ++i)
        text += (i + 1 == names.size() ? " and " : ", ") + names[i];
    return text + (names.size() == 1 ? " daemon" : " daemons");
}
