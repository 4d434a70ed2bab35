#include "tools/utmctl/profile_mapping.h"

#include "kqutm/profile.h"

#include "tools/utmctl/config_deed.h"
#include "tools/utmctl/registry_view.h"

#include <cerrno>

namespace {

constexpr shown_member members[] = {{"id", {"ID"}}, {"cf_policy", {"CF-POLICY"}}};
constexpr char not_listed[] = "the profile mapping was not listed";

json json_of(const utm_profile_mapping& one)
{
    return {{"id", one.profile_id}, {"cf_policy", one.cf_policy_id == 0 ? json() : json(one.cf_policy_id)}};
}

// No list and no error means that there is no profile.
json read_mapping()
{
    const utm_profile_mapping* head = dump_utm_profile_mapping();
    if (head == nullptr && errno != 0)
        return {};
    json mapping = json::array();
    for (const utm_profile_mapping* at = head; at != nullptr && at->next != head; at = at->next)
        mapping.push_back(json_of(*at->next));
    return mapping;
}

} // namespace

outcome show_mapping(const request& asked)
{
    read_registry(not_listed, asked.timeout);
    const call_result call = call_in_worker(not_listed, asked.timeout, read_mapping, {.without_lock = not_listed});
    if (call.value.is_null())
        throw failure(registry_problem(not_listed, "cannot be used", call.error));
    return {.result = call.value, .rows = table_of(call.value, members)};
}
