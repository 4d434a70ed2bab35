#include "kqutm/profile.h"

#include "tools/utmctl/arguments.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/profile_step.h"
#include "tools/utmctl/registry_table.h"
#include "tools/utmctl/registry_view.h"

#include <cerrno>

namespace {

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

outcome create(const request& asked)
{
    const int32_t id = asked.has("ID") ? id_of(asked.one("ID")) : 0;
    const profile_step step = {{profile_name(id), "created"}, id, judge_create};
    const profile_report report = carry_out(
        step, [id] { return utm_user_profile_create(id); }, asked.timeout);
    const std::optional<int> error = report.evidence.error;
    const json result = {{"id", report.evidence.id > 0 ? json(report.evidence.id) : json()}};
    if (error == EEXIST || error == ENOSPC)
        return refused(result, registry_refusal(not_done(step), *error));
    if (error && !registry_was_cleared())
        return refused(result, registry_problem(not_done(step), "cannot be cleared for its first use", *error));
    if (failed_on_registry(report.evidence))
        return refused(result, registry_problem(not_done(step), "cannot be used", *error));
    const profile_step named =
        report.returned > 0 ? profile_step{{profile_name(report.returned), "created"}, 0, judge_create} : step;
    outcome created = told(named, judge_create(report.evidence), report.evidence, result);
    if (report.returned > 0)
        created.lines.push_back(std::to_string(report.returned));
    return created;
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
    const profile_step step = {{profile_name(evidence.id), "deleted"}, evidence.id, judge_flushed};
    outcome flushed = told(step, judge_flushed(evidence), evidence, {{"id", evidence.id}});
    if (flushed.status == exit_status::done)
        flushed.confirmations.push_back(done(step));
    return flushed;
}

outcome flush(const request& asked)
{
    const profile_step step = {{"every profile", "deleted"}, 0, judge_flushed};
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
    {"create", new_id, create, "create a profile and print its identifier", nullptr, "profile create 7"},
    {"delete", ids, delete_all_given, "delete profiles, and the policies bound to them", nullptr, "profile delete 7 8"},
    {"add-device", id_and_devices, add_devices, "add devices to a profile", nullptr,
     "profile add-device 7 02:42:ac:11:00:05"},
    {"del-device", id_and_devices, delete_devices, "remove devices from a profile", nullptr,
     "profile del-device 7 02:42:ac:11:00:05"},
    {"list", {}, list, "list the registered profiles with the policies bound to them", nullptr, "profile list --json"},
    {"flush",
     {},
     flush,
     "delete every registered profile",
     "every profile and the policies bound to them",
     "profile flush --yes"},
};

} // namespace

constinit const family profile_family = {"profile", "user profiles and their devices", commands};
