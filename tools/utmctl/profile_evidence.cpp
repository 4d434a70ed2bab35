#include "tools/utmctl/profile_evidence.h"

#include "tools/utmctl/probe.h"
#include "tools/utmctl/registry_view.h"

#include <algorithm>
#include <iterator>

namespace {

using answer = profile_answers::answer;
using targets = std::vector<size_t>;

void place(profile_answers& answers, size_t target, failed_exchange failure)
{
    answers.given[target] = answer::failed;
    look_for_stopped_process(failure, config_daemons[target]);
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
        failure.error = *evidence.error;
        evidence.failures.pop_back();
    }
    answers.status = failure.status;
    place(answers, target, failure);
}

targets unreachable_now(const targets& candidates)
{
    targets found;
    std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(found),
                 [](size_t target) { return connect_error(config_daemons[target]) != 0; });
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

// A failure that is proven, but not told.
failed_exchange untold_failure(size_t target)
{
    if (const int error = connect_error(config_daemons[target]))
        return exchange_failure(error);
    return {cause_unknown, "failed, for a reason that the diagnostic log does not hold", ""};
}

// At least one of them failed, and the log does not tell which.
void place_untold(profile_answers& answers, const targets& candidates)
{
    for (size_t target : candidates)
        answers.given[target] = answer::open;
    for (size_t target : unreachable_now(candidates))
        place(answers, target, untold_failure(target));
    if (!any_failed(answers))
        answers.unplaced = {untold_failure(candidates.front())};
}

// Where the log cannot be written, a daemon of which it tells nothing may have failed or not.
void open_silent(profile_answers& answers, const targets& candidates, const profile_evidence& evidence)
{
    for (size_t target : candidates) {
        if (!evidence.log_works && answers.given[target] == answer::accepted)
            answers.given[target] = answer::open;
    }
}

profile_answers with_status(profile_answers answers)
{
    const auto& given = answers.given;
    const bool unanimous = std::all_of(given.begin(), given.end(), [](answer one) { return one == answer::accepted; });
    if (answers.status == exit_status::done && !unanimous)
        answers.status = exit_status::done_in_part;
    return answers;
}

bool is_registered(const profile_evidence& evidence)
{
    return is_registered(evidence.after, evidence.id);
}

// A daemon that accepts the deletion of a profile frees the policy of its kind that is bound to it.
answer told_by_binding(const profile_evidence& evidence, size_t target)
{
    const bool filter = target == UTM_CONFIG_TARGET_CF;
    const auto& before = filter ? evidence.before.cf_bindings : evidence.before.app_bindings;
    const auto& after = filter ? evidence.after.cf_bindings : evidence.after.app_bindings;
    const auto& profiles = evidence.before.profiles;
    const auto slot =
        std::find(std::begin(profiles), std::end(profiles), static_cast<uint32_t>(evidence.id->number())) - profiles;
    if (slot == UTM_ID_SLOTS || static_cast<int32_t>(before[slot]) <= 0)
        return answer::open;
    return after[slot] == 0 ? answer::accepted : answer::failed;
}

// What the registry proves about a daemon's answer to the deletion of a profile: both that hold policies failed while
// the profile is registered, and one of them accepted when it is not.
answer told_by_registry(const profile_evidence& evidence, size_t target)
{
    if (target == UTM_CONFIG_TARGET_USER_PROFILE)
        return answer::open;
    if (is_registered(evidence))
        return answer::failed;
    const size_t other = target == UTM_CONFIG_TARGET_CF ? UTM_CONFIG_TARGET_APP : UTM_CONFIG_TARGET_CF;
    const bool alone = told_by_binding(evidence, other) == answer::failed;
    return alone ? answer::accepted : told_by_binding(evidence, target);
}

targets with_answer(const profile_evidence& evidence, const targets& candidates, answer wanted)
{
    targets found;
    std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(found),
                 [&](size_t target) { return told_by_registry(evidence, target) == wanted; });
    return found;
}

targets merged(const targets& a, const targets& b)
{
    targets all;
    std::merge(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(all));
    return all;
}

// Candidates are the daemons whose answers to the deletion are not told.
void place_by_registry(profile_answers& answers, const targets& candidates, const profile_evidence& evidence)
{
    const targets failed = with_answer(evidence, candidates, answer::failed);
    const targets open = with_answer(evidence, candidates, answer::open);
    const size_t logged = evidence.failures.size();
    if (logged < failed.size()) {
        for (size_t target : failed)
            place(answers, target, untold_failure(target));
    } else {
        place_others(answers, logged == failed.size() ? failed : merged(failed, open), evidence.failures);
    }
    open_silent(answers, open, evidence);
}

bool is_about_application(const failed_exchange& failure)
{
    return failure.report.find("(app)") != std::string::npos;
}

// The failures that belong to one profile, by the number in the operation's own line.
std::vector<failed_exchange> failures_of(const std::vector<failed_exchange>& all, kqutm::profile_id id)
{
    const std::string mark = "(id = " + std::to_string(id.number()) + ")";
    std::vector<failed_exchange> own;
    std::copy_if(all.begin(), all.end(), std::back_inserter(own),
                 [&](const failed_exchange& one) { return one.report.ends_with(mark); });
    return own;
}

} // namespace

// Each daemon that fails has the identifier released, so that one which stays registered was accepted by all.
profile_answers judge_create(profile_evidence evidence)
{
    profile_answers answers;
    if (!evidence.error && is_registered(evidence))
        return answers;
    const targets others = {UTM_CONFIG_TARGET_CF, UTM_CONFIG_TARGET_USER_PROFILE};
    place_deciding(answers, UTM_CONFIG_TARGET_APP, evidence);
    if (!evidence.error && evidence.failures.empty())
        place_untold(answers, others);
    place_others(answers, others, evidence.failures);
    open_silent(answers, others, evidence);
    return with_status(answers);
}

profile_answers judge_delete(profile_evidence evidence)
{
    profile_answers answers;
    evidence.failures = failures_of(evidence.failures, *evidence.id);
    place_deciding(answers, UTM_CONFIG_TARGET_USER_PROFILE, evidence);
    place_by_registry(answers, {UTM_CONFIG_TARGET_CF, UTM_CONFIG_TARGET_APP}, evidence);
    return with_status(answers);
}

profile_answers judge_device(profile_evidence evidence)
{
    profile_answers answers;
    evidence.failures = failures_of(evidence.failures, *evidence.id);
    place_deciding(answers, UTM_CONFIG_TARGET_USER_PROFILE, evidence);
    for (const failed_exchange& one : evidence.failures)
        place(answers, is_about_application(one) ? UTM_CONFIG_TARGET_APP : UTM_CONFIG_TARGET_CF, one);
    open_silent(answers, {UTM_CONFIG_TARGET_CF, UTM_CONFIG_TARGET_APP}, evidence);
    return with_status(answers);
}

profile_answers judge_flushed(profile_evidence evidence)
{
    profile_answers answers;
    evidence.failures = failures_of(evidence.failures, *evidence.id);
    if (evidence.failures.empty() && is_registered(evidence)) {
        answers.given.fill(answer::open);
        answers.passed_over = true;
        answers.status = evidence.log_works ? exit_status::registry_unusable : exit_status::done_in_part;
        return answers;
    }
    place_by_registry(answers, {UTM_CONFIG_TARGET_CF, UTM_CONFIG_TARGET_APP, UTM_CONFIG_TARGET_USER_PROFILE}, evidence);
    if (all_failed(answers))
        answers.status = answers.failures.back().status;
    return with_status(answers);
}

bool failed_on_registry(const profile_evidence& evidence)
{
    return evidence.error && evidence.log_works && evidence.failures.empty();
}
