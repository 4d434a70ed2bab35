#include "tools/utmctl/profile_step.h"

#include "tools/utmctl/registry_view.h"
#include "tools/utmctl/remedy.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <utility>

namespace {

constexpr char logs_tell[] = "the daemons' own logs tell the reason";

void add(failed_daemons& sum, const service& daemon, int stopped)
{
    sum.daemons.push_back(daemon);
    if (sum.stopped == 0)
        sum.stopped = stopped;
}

// Where it is not known which one it was: those that are stopped.
failed_daemons stopped_daemons(int error)
{
    failed_daemons sum = {.daemons = {}, .error = error};
    for (const service& one : config_daemons) {
        if (const int process = stopped_process_of(one))
            add(sum, one, process);
    }
    return sum;
}

failed_daemons daemons_that_failed_with(int error, const profile_answers& answers)
{
    failed_daemons sum = {.daemons = {}, .error = error};
    for (size_t target = 0; target < config_daemons.size(); ++target) {
        const failed_exchange& one = answers.failures[target];
        if (one.status != exit_status::done && one.error == error)
            add(sum, config_daemons[target], one.stopped);
    }
    return sum.daemons.empty() && error == ETIMEDOUT ? stopped_daemons(error) : sum;
}

// Those that are known to belong to one daemon first.
std::vector<failed_exchange> all_failures(const profile_answers& answers)
{
    std::vector<failed_exchange> all;
    std::copy_if(answers.failures.begin(), answers.failures.end(), std::back_inserter(all),
                 [](const failed_exchange& one) { return one.status != exit_status::done; });
    all.insert(all.end(), answers.unplaced.begin(), answers.unplaced.end());
    return all;
}

bool is_refusal(const failed_exchange& one)
{
    return one.status == exit_status::refused;
}

// A profile that only daemons know can be deleted there once the registry knows it again.
std::string clearing_of(kqutm::profile_id id)
{
    const std::string number = std::to_string(id.number());
    return "clear what is left with 'utmctl registry reserve profile " + number + "' and 'utmctl profile delete " +
           number + "'";
}

// Where all have failed, a daemon that refuses to create a profile may have it already, and then refuses again.
std::string step_after(const failed_exchange& curable, const profile_step& step, const profile_answers& answers,
                       bool left_unregistered, const std::optional<kqutm::profile_id>& id)
{
    const failed_daemons failed = daemons_that_failed_with(curable.error, answers);
    const std::vector<failed_exchange> failures = all_failures(answers);
    if (left_unregistered)
        return next_after(failed, clearing_of(*id));
    if (step.judge == judge_create && id && std::any_of(failures.begin(), failures.end(), is_refusal))
        return next_after(failed, clearing_of(*id) + ", and create it again");
    return next_after(failed);
}

std::string next_step(const profile_step& step, const profile_answers& answers, bool left_unregistered,
                      const std::optional<kqutm::profile_id>& id)
{
    const std::vector<failed_exchange> failures = all_failures(answers);
    const auto curable = std::find_if_not(failures.begin(), failures.end(), is_refusal);
    if (curable != failures.end())
        return step_after(*curable, step, answers, left_unregistered, id);
    if (!failures.empty()) {
        const std::string reason = failures.size() > 1 ? logs_tell : next_after({.daemons = {}, .error = EREMOTEIO});
        return left_unregistered ? reason + "; " + clearing_of(*id) : reason;
    }
    const std::string look = answers.status == exit_status::registry_unusable
                                 ? "look with 'utmctl registry show' what it holds, then "
                                 : "make the diagnostic log writable, then ";
    return look + (left_unregistered ? clearing_of(*id) : "run the command again");
}

// A daemon that does not know a profile refuses to delete it. Where none knows it, no deletion takes it out of the
// registry; where one does not, the deletion of what another has left looks like a failure again.
std::string note_on_refusal(const profile_step& step, const profile_answers& answers, bool left_unregistered,
                            const profile_evidence& evidence)
{
    const bool deletes = step.judge == judge_delete || step.judge == judge_flushed;
    const std::vector<failed_exchange> failures = all_failures(answers);
    if (!deletes || std::none_of(failures.begin(), failures.end(), is_refusal))
        return "";
    if (left_unregistered)
        return "; a daemon that never had it refuses again";
    const bool refused_by_all = std::all_of(answers.failures.begin(), answers.failures.end(), is_refusal);
    if (!refused_by_all || !is_registered(evidence.after, evidence.id))
        return "";
    return "; the registry still holds it; 'utmctl registry release profile " + std::to_string(evidence.id->number()) +
           "' frees it there";
}

// What the three daemons and the registry hold now, where they disagree.
std::string state_of(const profile_answers& answers, bool registered)
{
    if (all_failed(answers))
        return "";
    const std::string accepted = daemons_that(answers, profile_answers::answer::accepted);
    const char* registry = registered ? "in the registry" : "not in the registry";
    return " (" + (accepted.empty() ? "" : "accepted by " + accepted + "; ") + registry + ")";
}

std::string what_happened(const profile_step& step, const profile_answers& answers)
{
    if (answers.status != exit_status::done_in_part)
        return not_done(step);
    return any_failed(answers) ? done_in_part(step) : maybe_done(step) + " in part only";
}

// What a creation returned.
std::optional<kqutm::profile_id> chosen_id(const kqutm::result<json>& result)
{
    return result && result->is_number() ? kqutm::profile_id::of(result->get<int64_t>()) : std::nullopt;
}

} // namespace

profile_report carry_out(const profile_step& step, const operation& work, double timeout)
{
    watched_call call = call_watched(step, {config_daemons.begin(), config_daemons.end()}, timeout, work);
    profile_evidence evidence = {.id = step.id ? step.id : chosen_id(call.result),
                                 .error = call.result ? std::nullopt : std::optional(call.error()),
                                 .failures = failed_exchanges(call.log),
                                 .log_works = call.log_works,
                                 .before = call.before,
                                 .after = call.after};
    return {std::move(call), std::move(evidence)};
}

outcome told(const profile_step& step, const profile_answers& answers, const profile_evidence& evidence, json result)
{
    const bool registered = is_registered(evidence.after, evidence.id);
    result["registered"] = registered;
    result["daemons"] = json_of(answers);
    result["status"] = word_of(answers.status);
    outcome told = {.status = answers.status, .result = std::move(result)};
    if (answers.status == exit_status::done)
        return told;
    const bool left_unregistered = !registered && evidence.id && !all_failed(answers);
    told.problems.push_back({.status = answers.status,
                             .what = what_happened(step, answers) + state_of(answers, registered),
                             .culprits = culprits_of(answers),
                             .next = next_step(step, answers, left_unregistered, evidence.id) +
                                     note_on_refusal(step, answers, left_unregistered, evidence)});
    return told;
}

outcome refused(const json& result, problem why)
{
    outcome refusal = {.status = why.status, .result = result};
    refusal.result["status"] = word_of(why.status);
    refusal.problems.push_back(std::move(why));
    return refusal;
}
