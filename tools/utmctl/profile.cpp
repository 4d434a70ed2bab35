#include "kqutm/profile.h"

#include "tools/utmctl/arguments.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/log_watch.h"
#include "tools/utmctl/profile_answers.h"
#include "tools/utmctl/registry_table.h"
#include "tools/utmctl/registry_view.h"
#include "tools/utmctl/worker.h"

#include <cerrno>
#include <functional>

namespace {

using operation = std::function<int32_t()>;

// One operation on one profile: how it is told, and how its answers are judged.
struct profile_step {
    std::string subject;    // "profile 7"
    std::string participle; // "created"
    int32_t id;             // 0: the operation chooses one
    profile_answers (*judge)(profile_evidence);
};

std::string not_done(const profile_step& step)
{
    return step.subject + " was not " + step.participle;
}

std::string done_in_part(const profile_step& step)
{
    return step.subject + " was " + step.participle + " in part";
}

std::string maybe_done(const profile_step& step)
{
    return step.subject + " may have been " + step.participle;
}

std::string done(const profile_step& step)
{
    return step.subject + " " + step.participle;
}

struct profile_report {
    int32_t returned;
    profile_evidence evidence;
    std::string printed;
};

profile_report carry_out(const profile_step& step, const operation& work, double timeout)
{
    const utm_id_registry before = read_registry(not_done(step), timeout);
    const log_watch log(UTM_APPCF_LOG);
    const call_result call = call_in_worker(maybe_done(step), timeout, work);
    const utm_id_registry after = read_registry(maybe_done(step), timeout);
    const int32_t returned = call.value;
    return {.returned = returned,
            .evidence = {.id = step.id != 0 ? step.id : returned,
                         .error = returned == -1 ? std::optional(call.error) : std::nullopt,
                         .failures = failed_exchanges(log.lines()),
                         .before = before,
                         .after = after},
            .printed = call.printed};
}

const char* first_remedy(exit_status status)
{
    switch (status) {
    case exit_status::unreachable:
        return "start what cannot be reached";
    case exit_status::no_answer:
        return "find out why the daemon hangs";
    case exit_status::protocol_error:
        return "check that the daemon and the library are of one version";
    default:
        return "ask the daemon's own log for the reason";
    }
}

exit_status first_failure(const profile_answers& answers)
{
    for (const failed_exchange& one : answers.failures) {
        if (one.status != exit_status::done)
            return one.status;
    }
    return answers.unplaced.front().status;
}

// A profile that only daemons know can be deleted there once the registry knows it again.
std::string next_step(const profile_answers& answers, bool left_unregistered, int32_t id)
{
    const std::string number = std::to_string(id);
    const std::string last = left_unregistered ? "clear what is left with 'utmctl registry reserve profile " + number +
                                                     "' and 'utmctl profile delete " + number + "'"
                                               : "run the command again";
    return std::string(first_remedy(first_failure(answers))) + ", then " + last;
}

// What the three daemons and the registry hold now, where they disagree.
std::string state_of(const profile_answers& answers, bool registered)
{
    const std::string accepted = accepted_by(answers);
    const char* registry = registered ? "in the registry" : "not in the registry";
    return accepted.empty() ? "" : " (accepted by " + accepted + "; " + registry + ")";
}

outcome told(const profile_step& step, const profile_answers& answers, const profile_evidence& evidence, json result)
{
    const bool registered = is_registered(evidence.after, UTM_ID_USER_PROFILE, evidence.id);
    result["registered"] = registered;
    result["daemons"] = json_of(answers);
    result["status"] = word_of(answers.status);
    outcome told = {.status = answers.status, .result = std::move(result)};
    if (answers.status == exit_status::done)
        return told;
    const bool in_part = answers.status == exit_status::done_in_part;
    const bool left_unregistered = !registered && evidence.id > 0 && step.judge != judge_device &&
                                   !(step.judge == judge_create && accepted_by(answers).empty());
    told.problems.push_back({.status = answers.status,
                             .what = (in_part ? done_in_part(step) : not_done(step)) + state_of(answers, registered),
                             .culprits = culprits_of(answers),
                             .next = next_step(answers, left_unregistered, evidence.id)});
    return told;
}

outcome refused(const json& result, problem why)
{
    outcome refusal = {.status = why.status, .result = result};
    refusal.result["status"] = word_of(why.status);
    refusal.problems.push_back(std::move(why));
    return refusal;
}

problem unknown_profile(const std::string& what)
{
    return {.status = exit_status::unknown_identifier,
            .what = what,
            .culprits = {{"the ID registry", "", "does not know it, and nothing was sent"}},
            .next = "'utmctl profile list' tells which profiles there are"};
}

// A failure with ENOENT is a profile that is not registered, unless the registry knew it: then a socket is missing.
bool was_unknown(const profile_report& report)
{
    return report.evidence.error == ENOENT &&
           !is_registered(report.evidence.before, UTM_ID_USER_PROFILE, report.evidence.id);
}

outcome work_on_registered(const profile_step& step, const operation& work, const json& result, double timeout)
{
    try {
        const profile_report report = carry_out(step, work, timeout);
        if (was_unknown(report))
            return refused(result, unknown_profile(not_done(step)));
        return told(step, step.judge(report.evidence), report.evidence, result);
    } catch (const failure& failed) {
        return refused(result, failed.why());
    }
}

std::string profile_name(int32_t id)
{
    return id == 0 ? "the profile" : "profile " + std::to_string(id);
}

problem registry_refusal(const std::string& what, int error)
{
    if (error == EEXIST)
        return {.status = exit_status::refused,
                .what = what,
                .culprits = {{"the ID registry", "", "holds that identifier already"}},
                .next = "choose another identifier, or none to get one from the clock"};
    return {.status = exit_status::refused,
            .what = what,
            .culprits = {{"the ID registry", "", "holds 256 of them, and has no free slot"}},
            .next = "delete one that is not needed any more"};
}

outcome create(const request& asked)
{
    const int32_t id = asked.has("ID") ? id_of(asked.one("ID")) : 0;
    const profile_step step = {profile_name(id), "created", id, judge_create};
    profile_report report = carry_out(
        step, [id] { return utm_user_profile_create(id); }, asked.timeout);
    const std::optional<int> error = report.evidence.error;
    const json result = {{"id", report.evidence.id > 0 ? json(report.evidence.id) : json()}};
    if (error == EEXIST || error == ENOSPC)
        return refused(result, registry_refusal(not_done(step), *error));
    if (error && !registry_was_cleared())
        return refused(result, registry_problem(not_done(step), "cannot be cleared for its first use", *error));
    const profile_step named =
        report.returned > 0 ? profile_step{profile_name(report.returned), "created", 0, judge_create} : step;
    outcome created = told(named, judge_create(report.evidence), report.evidence, result);
    if (report.returned > 0)
        created.lines.push_back(std::to_string(report.returned));
    return created;
}

outcome delete_one(int32_t id, double timeout)
{
    const profile_step step = {profile_name(id), "deleted", id, judge_delete};
    outcome deleted = work_on_registered(
        step, [id] { return utm_user_profile_delete(id); }, {{"id", id}}, timeout);
    if (deleted.status == exit_status::done)
        deleted.confirmations.push_back(done(step));
    return deleted;
}

outcome delete_all_given(const request& asked)
{
    outcome sum = {.result = json::array()};
    for (const std::string& id : asked.all("ID"))
        add(sum, delete_one(id_of(id), asked.timeout));
    return sum;
}

struct device_change {
    int32_t (*operation)(int32_t id, const uint8_t* mac);
    const char* participle;
};

constexpr device_change adding = {utm_user_profile_add_dev, "added to"};
constexpr device_change removing = {utm_user_profile_del_dev, "removed from"};

outcome change_device(const device_change& change, int32_t id, const std::string& device, double timeout)
{
    const mac_address mac = mac_of(device);
    const std::string participle = std::string(change.participle) + " " + profile_name(id);
    const profile_step step = {device, participle, id, judge_device};
    outcome changed = work_on_registered(
        step, [&] { return change.operation(id, mac.data()); }, {{"id", id}, {"mac", device}}, timeout);
    if (changed.status == exit_status::done)
        changed.confirmations.push_back(done(step));
    return changed;
}

outcome change_devices(const device_change& change, const request& asked)
{
    outcome sum = {.result = json::array()};
    for (const std::string& mac : asked.all("MAC"))
        add(sum, change_device(change, id_of(asked.one("ID")), mac, asked.timeout));
    return sum;
}

outcome add_devices(const request& asked)
{
    return change_devices(adding, asked);
}

outcome delete_devices(const request& asked)
{
    return change_devices(removing, asked);
}

outcome list(const request& asked)
{
    return list_profiles(read_registry("the profiles were not listed", asked.timeout));
}

outcome flushed_one(const profile_evidence& evidence)
{
    const profile_step step = {profile_name(evidence.id), "deleted", evidence.id, judge_flushed};
    outcome flushed = told(step, judge_flushed(evidence), evidence, {{"id", evidence.id}});
    if (flushed.status == exit_status::done)
        flushed.confirmations.push_back(done(step));
    return flushed;
}

outcome flush(const request& asked)
{
    const profile_step step = {"every profile", "deleted", 0, judge_flushed};
    profile_report report = carry_out(step, utm_user_profile_flush, asked.timeout);
    if (report.evidence.error)
        throw failure(
            registry_problem(not_done(step), "cannot be used: its segment cannot be attached", *report.evidence.error));
    outcome sum = {.result = json::array()};
    for (uint32_t id : report.evidence.before.profiles) {
        report.evidence.id = static_cast<int32_t>(id);
        if (report.evidence.id > 0)
            add(sum, flushed_one(report.evidence));
    }
    if (sum.result.empty())
        sum.confirmations.push_back("no profile to delete");
    return sum;
}

constexpr argument new_id[] = {
    {"ID", occurs::at_most_once, check_id_or_zero, "the identifier to take; 0 or none: the current time in seconds"},
};
constexpr argument ids[] = {
    {"ID", occurs::at_least_once, check_id, "the identifiers of the profiles"},
};
constexpr argument id_and_devices[] = {
    {"ID", occurs::once, check_id, "the identifier of the profile"},
    {"MAC", occurs::at_least_once, check_mac, "the devices' MAC addresses, such as 02:42:ac:11:00:05"},
};

constexpr command commands[] = {
    {"create", new_id, create, "create a profile and print its identifier"},
    {"delete", ids, delete_all_given, "delete profiles, and the policies bound to them"},
    {"add-device", id_and_devices, add_devices, "add devices to a profile"},
    {"del-device", id_and_devices, delete_devices, "remove devices from a profile"},
    {"list", {}, list, "list the registered profiles with the policies bound to them"},
    {"flush", {}, flush, "delete every registered profile", "every profile and the policies bound to them"},
};

} // namespace

constinit const family profile_family = {"profile", "user profiles and their devices", commands};
