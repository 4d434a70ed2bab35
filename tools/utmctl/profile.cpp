#include "tools/utmctl/profile.h"

#include "tools/utmctl/arguments.h"
#include "tools/utmctl/registry_table.h"
#include "tools/utmctl/registry_view.h"
#include "tools/utmctl/worker.h"

#include <cerrno>

namespace {

std::string profile_name(const std::optional<kqutm::profile_id>& id)
{
    return id ? named(*id) : "the profile";
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
    return evidence.error == ENOENT && !is_registered(evidence.before, evidence.id);
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

outcome delete_one(kqutm::profile_id id, double timeout)
{
    const profile_step step = {{profile_name(id), "deleted"}, id, judge_delete};
    outcome deleted = work_on_registered(
        step, [id] { return as_json(kqutm::profiles::remove(id)); }, {{"id", id.number()}}, timeout);
    if (deleted.status == exit_status::done)
        deleted.confirmations.push_back(done(step));
    return deleted;
}

struct device_change {
    kqutm::result<kqutm::done> (*operation)(kqutm::profile_id id, const kqutm::mac_address& device);
    const char* participle;
};

constexpr device_change adding = {kqutm::profiles::add_device, "added to"};
constexpr device_change removing = {kqutm::profiles::remove_device, "removed from"};

outcome change_device(const device_change& change, kqutm::profile_id id, const std::string& device, double timeout)
{
    const std::string participle = std::string(change.participle) + " " + profile_name(id);
    const profile_step step = {{device, participle}, id, judge_device};
    outcome changed = work_on_registered(
        step, [&] { return as_json(change.operation(id, mac_of(device))); }, {{"id", id.number()}, {"mac", device}},
        timeout);
    if (changed.status == exit_status::done)
        changed.confirmations.push_back(done(step));
    return changed;
}

outcome change_devices(const device_change& change, const request& asked)
{
    outcome sum = {.result = json::array()};
    for (const std::string& mac : asked.all("MAC"))
        add(sum, change_device(change, profile_of(asked), mac, asked.timeout));
    return sum;
}

outcome flushed_one(const profile_evidence& evidence)
{
    const profile_step step = {{profile_name(evidence.id), "deleted"}, evidence.id, judge_flushed};
    outcome flushed = told(step, judge_flushed(evidence), evidence, {{"id", evidence.id->number()}});
    if (flushed.status == exit_status::done)
        flushed.confirmations.push_back(done(step));
    return flushed;
}

// The layer would look the identifier up once more, which may leave a line in the log that is read as evidence.
kqutm::result<json> create(const std::optional<kqutm::profile_id>& id)
{
    const int32_t created = utm_user_profile_create(id ? id->number() : 0);
    if (created == -1)
        return kqutm::cause{.error = errno};
    return json(created);
}

} // namespace

outcome create_profile(const request& asked)
{
    const std::optional<kqutm::profile_id> wanted = new_id_of<kqutm::profile_id>(asked);
    const profile_step step = {{profile_name(wanted), "created"}, wanted, judge_create};
    const profile_report report = carry_out(
        step, [&] { return create(wanted); }, asked.timeout);
    const std::optional<kqutm::profile_id>& id = report.evidence.id;
    const json result = {{"id", id ? json(id->number()) : json()}};
    if (const auto why = creation_refusal(report.call, not_done(step)))
        return refused(result, *why);
    const profile_step known = {{profile_name(id), "created"}, id, judge_create};
    outcome created = told(known, judge_create(report.evidence), report.evidence, result);
    if (report.call.result)
        created.lines = {std::to_string(id->number())};
    return created;
}

outcome delete_profiles(const request& asked)
{
    outcome sum = {.result = json::array()};
    for (const std::string& id : asked.all("ID"))
        add(sum, delete_one(id_of<kqutm::profile_id>(id), asked.timeout));
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
        evidence.id = kqutm::profile_id::of(id);
        if (evidence.id)
            add(sum, flushed_one(evidence));
    }
    if (sum.result.empty())
        sum.confirmations.push_back("no profile to delete");
    return sum;
}

outcome flush_profiles(const request& asked)
{
    const profile_step step = {{"every profile", "deleted"}, std::nullopt, judge_flushed};
    const profile_report report = carry_out(
        step, [] { return as_json(kqutm::profiles::flush()); }, asked.timeout);
    if (report.evidence.error)
        throw failure(
            registry_problem(not_done(step), "cannot be used: its segment cannot be attached", *report.evidence.error));
    return flushed_profiles(report.evidence);
}
