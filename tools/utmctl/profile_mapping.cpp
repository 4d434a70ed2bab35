#include "tools/utmctl/profile_mapping.h"

#include "tools/utmctl/config_deed.h"
#include "tools/utmctl/registry_view.h"

namespace {

constexpr shown_member members[] = {{"id", {"ID"}}, {"cf_policy", {"CF-POLICY"}}};
constexpr char not_listed[] = "the profile mapping was not listed";

json json_of(const utm_profile_mapping& one)
{
    return {{"id", one.profile_id}, {"cf_policy", one.cf_policy_id == 0 ? json() : json(one.cf_policy_id)}};
}

kqutm::result<json> read_mapping()
{
    return kqutm::profiles::mapping().transform([](const auto& list) {
        json mapping = json::array();
        for (const utm_profile_mapping& one : list)
            mapping.push_back(json_of(one));
        return mapping;
    });
}

} // namespace

outcome show_mapping(const request& asked)
{
    read_registry(not_listed, asked.timeout);
    const auto mapping = call_in_worker(not_listed, asked.timeout, read_mapping, {.without_lock = not_listed}).result;
    if (!mapping)
        throw failure(registry_problem(not_listed, "cannot be used", mapping.error().error));
    return {.result = *mapping, .rows = table_of(*mapping, members)};
}
