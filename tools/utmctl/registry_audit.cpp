#include "tools/utmctl/registry_audit.h"

#include "tools/utmctl/arguments.h"
#include "tools/utmctl/registry_view.h"

#include <algorithm>
#include <climits>
#include <map>

namespace {

constexpr const char* kind_words[] = {"profile", "cf-policy", "app-policy"};

struct binding_kind {
    const char* policy_kind;
    const char* command; // that binds a policy of the kind
    const uint32_t (utm_id_registry::*bindings)[UTM_ID_SLOTS];
};

constexpr binding_kind binding_kinds[] = {
    {"cf-policy", "bind-cf", &utm_id_registry::cf_bindings},
    {"app-policy", "bind-app", &utm_id_registry::app_bindings},
};

std::string named(const char* word, uint32_t id)
{
    return std::string(kind_of(word).name) + " " + std::to_string(id);
}

std::string in_slot(size_t slot)
{
    return "slot " + std::to_string(slot);
}

std::string release_of(const char* word, uint32_t id)
{
    return std::string("'utmctl registry release ") + word + " " + std::to_string(id) + "'";
}

// The slots of each identifier, in order of the first.
std::map<uint32_t, std::vector<size_t>> slots_of(std::span<const uint32_t, UTM_ID_SLOTS> ids)
{
    std::map<uint32_t, std::vector<size_t>> slots;
    for (size_t slot = 0; slot < ids.size(); ++slot) {
        if (ids[slot] != 0)
            slots[ids[slot]].push_back(slot);
    }
    return slots;
}

void audit_duplicates(findings& found, const char* word, const std::map<uint32_t, std::vector<size_t>>& slots)
{
    for (const auto& [id, places] : slots) {
        if (places.size() > 1)
            found.push_back({severity::error,
                             named(word, id) + " stands in " + std::to_string(places.size()) + " slots, " +
                                 std::to_string(places[0]) + " and " + std::to_string(places[1]) + " among them",
                             release_of(word, id) + " frees the first of them"});
    }
}

// Results are signed, in which such an identifier reads as a failure.
void audit_range(findings& found, const char* word, const std::map<uint32_t, std::vector<size_t>>& slots)
{
    for (const auto& [id, places] : slots) {
        if (id > INT32_MAX)
            found.push_back(
                {severity::warning,
                 named(word, id) + " in " + in_slot(places[0]) +
                     " is above 2147483647, and reads as a failure where it is returned",
                 "have the program that reserved it take a smaller one; " + release_of(word, id) + " frees it"});
    }
}

void audit_room(findings& found, const char* word, std::span<const uint32_t, UTM_ID_SLOTS> ids)
{
    if (std::find(ids.begin(), ids.end(), 0U) == ids.end())
        found.push_back({severity::warning,
                         std::string("all 256 slots of the kind ") + word + " are taken, so none can be created",
                         "delete what is not needed any more"});
}

void audit_kind(findings& found, const char* word, const utm_id_registry& registry)
{
    const auto ids = ids_of(registry, kind_of(word).number);
    const auto slots = slots_of(ids);
    audit_duplicates(found, word, slots);
    audit_range(found, word, slots);
    audit_room(found, word, ids);
}

finding left_binding(const binding_kind& kind, size_t slot, uint32_t policy)
{
    return {severity::warning,
            "free " + in_slot(slot) + " of the profiles still binds " + named(kind.policy_kind, policy) +
                ", which the next profile in it takes over",
            std::string("after the next 'utmctl profile create', bind that profile anew with 'utmctl profile ") +
                kind.command + "'"};
}

finding dangling_binding(const binding_kind& kind, uint32_t profile, uint32_t policy)
{
    return {severity::error,
            named("profile", profile) + " is bound to " + named(kind.policy_kind, policy) + ", which is not registered",
            std::string("'utmctl profile ") + kind.command + " " + std::to_string(profile) +
                " POLICY' binds it to one that is"};
}

void audit_bindings(findings& found, const binding_kind& kind, const utm_id_registry& registry)
{
    const auto policies = ids_of(registry, kind_of(kind.policy_kind).number);
    for (size_t slot = 0; slot < UTM_ID_SLOTS; ++slot) {
        const uint32_t policy = (registry.*kind.bindings)[slot];
        if (policy == 0)
            continue;
        if (registry.profiles[slot] == 0)
            found.push_back(left_binding(kind, slot, policy));
        else if (std::find(policies.begin(), policies.end(), policy) == policies.end())
            found.push_back(dangling_binding(kind, registry.profiles[slot], policy));
    }
}

std::map<uint32_t, std::vector<uint32_t>> profiles_by_policy(const binding_kind& kind, const utm_id_registry& registry)
{
    std::map<uint32_t, std::vector<uint32_t>> profiles;
    for (size_t slot = 0; slot < UTM_ID_SLOTS; ++slot) {
        if (registry.profiles[slot] != 0)
            profiles[(registry.*kind.bindings)[slot]].push_back(registry.profiles[slot]);
    }
    return profiles;
}

// Deleting one of the profiles takes the policy away from the others; one without a profile is deleted by no command.
void audit_policies(findings& found, const binding_kind& kind, const utm_id_registry& registry)
{
    const auto profiles = profiles_by_policy(kind, registry);
    for (const auto& [policy, slots] : slots_of(ids_of(registry, kind_of(kind.policy_kind).number))) {
        const auto bound = profiles.find(policy);
        if (bound == profiles.end())
            found.push_back({severity::note, named(kind.policy_kind, policy) + " is bound to no profile",
                             std::string("'utmctl profile ") + kind.command + " ID " + std::to_string(policy) +
                                 "' binds it, so that it goes with its profile"});
        else if (bound->second.size() > 1)
            found.push_back({severity::note,
                             named(kind.policy_kind, policy) + " is bound to " + std::to_string(bound->second.size()) +
                                 " profiles, and goes with the first that is deleted",
                             "give each profile a policy of its own"});
    }
}

} // namespace

findings audit_slots(const utm_id_registry& registry)
{
    findings found;
    for (const char* word : kind_words)
        audit_kind(found, word, registry);
    for (const binding_kind& kind : binding_kinds) {
        audit_bindings(found, kind, registry);
        audit_policies(found, kind, registry);
    }
    return found;
}
