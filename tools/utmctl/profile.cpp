#include "tools/utmctl/profile.h"

#include "kqutm/profile.h"

#include "tools/utmctl/arguments.h"
#include "tools/utmctl/registry_table.h"
#include "tools/utmctl/registry_view.h"

#include <cerrno>

namespace {

std::string profile_name(int32_t id)
{
    return id == 0 ? "the profile" : "profile " + std::to_string(id);
}

problem unknown_profile(const std::string& what)
{
    return {.status = exit_status::unknown_identifier,
            .what = what,
            .culprits = {{"the ID registry", "", "does not know it, and nothing was sent"}},
            .next = "'utmctl profile list' tells which profiles there are"};
}

// A failure with ENOENT is a profile that is not registered, unless the registry knew it: then a socket is missing.
bool was_unknown(const profile_evidence& evidence)
{
    return evidence.error == ENOENT && !is_registered(evidence.before, UTM_ID_USER_PROFILE, evidence.id);
}

outcome work_on_registered(const profile_step& step, const operation& work, const json& result, double timeout)
{
    try {
        const profile_evidence evidence = carry_out(step, work, timeout).evidence;
        if (was_unknown(evidence))
            return refused(result, unknown_profile(not_done(step)));
        if (failed_on_registry(evidence))
            return refused(result, registry_problem(not_done(step), "cannot be used", *evidence.error));
        return told(step, step.judge(evidence), evidence, result);
    } catch (const failure& failed) {
        return refused(result, failed.why());
    }
}

outcome delete_one(int32_t id, double timeout)
{
    const profile_step step = {{profile_name(id), "deleted"}, id, judge_delete};
    outcome deleted = work_on_registered(
        step, [id] { return utm_user_profile_delete(id); }, {{"id", id}}, timeout);
    if (deleted.status == exit_status::done)
        deleted.confirmations.push_back(done(step));
    return deleted;
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
    const profile_step step = {{device, participle}, id, judge_device};
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

outcome flushed_one(const profile_evidence& evidence)
{
    const profile_step step = {{profile_name(evidence.id), "deleted"}, evidence.id, judge_flushed};
    outcome flushed = told(step, judge_flushed(evidence), evidence, {{"id", evidence.id}});
    if (flushed.status == exit_status::done)
        flushed.confirmations.push_back(done(step));
    return flushed;
}

} // namespace

outcome create_profile(const request& asked)
{
    const int32_t id = asked.has("ID") ? id_of(asked.one("ID")) : 0;
    const profile_step step = {{profile_name(id), "created"}, id, judge_create};
    const profile_report report = carry_out(
        step, [id] { return utm_user_profile_create(id); }, asked.timeout);
    const json result = {{"id", report.evidence.id > 0 ? json(report.evidence.id) : json()}};
    if (const auto why = creation_refusal(report.call, not_done(step)))
        return refused(result, *why);
    const int32_t created_id = report.call.returned;
    const profile_step named =
        created_id > 0 ? profile_step{{profile_name(created_id), "created"}, 0, judge_create} : step;
    outcome created = told(named, judge_create(report.evidence), report.evidence, result);
    if (created_id > 0)
        created.lines.push_back(std::to_string(created_id));
    return created;
}

outcome delete_profiles(const request& asked)
{
    outcome sum = {.result = json::array()};
    for (const std::string& id : asked.all("ID"))
        add(sum, delete_one(id_of(id), asked.timeout));
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

outcome show_profiles(const request& asked)
{
    return list_profiles(read_registry("the profiles were not listed", asked.timeout));
}

outcome flushed_profiles(profile_evidence evidence)
{
    outcome sum = {.result = json::array()};
    for (const uint32_t id : evidence.before.profiles) {
        evidence.id = static_cast<int32_t>(id);
        if (evidence.id > 0)
            add(sum, flushed_one(evidence));
    }
    if (sum.result.empty())
        sum.confirmations.push_back("no profile to delete");
    return sum;
}

outcome flush_profiles(const request& asked)
{
    const profile_step step = {{"every profile", "deleted"}, 0, judge_flushed};
    const profile_report report = carry_out(step, utm_user_profile_flush, asked.timeout);
    if (report.evidence.error)
        throw failure(
            registry_problem(not_done(step), "cannot be used: its segment cannot be attached", *report.evidence.error));
    return flushed_profiles(report.evidence);
}
