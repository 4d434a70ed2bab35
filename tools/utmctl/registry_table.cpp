#include "tools/utmctl/registry_table.h"

namespace {

struct binding {
    size_t slot;
    uint32_t profile;
    uint32_t cf_policy;
    uint32_t app_policy;
};

binding slot_of(const utm_id_registry& registry, size_t slot)
{
    return {slot, registry.profiles[slot], registry.cf_bindings[slot], registry.app_bindings[slot]};
}

std::string shown(uint32_t id)
{
    return id == 0 ? "-" : std::to_string(id);
}

json value_of(uint32_t id)
{
    return id == 0 ? json() : json(id);
}

json json_of(const binding& one)
{
    return {{"slot", one.slot},
            {"id", value_of(one.profile)},
            {"cf_policy", value_of(one.cf_policy)},
            {"app_policy", value_of(one.app_policy)}};
}

void show_policies(outcome& shown_registry, const char* kind, const char* member,
                   const uint32_t (&policies)[UTM_ID_SLOTS])
{
    json values = json::array();
    for (size_t slot = 0; slot < UTM_ID_SLOTS; ++slot) {
        if (policies[slot] == 0)
            continue;
        values.push_back({{"slot", slot}, {"id", policies[slot]}});
        shown_registry.rows->rows.push_back({kind, std::to_string(slot), shown(policies[slot]), "-", "-"});
    }
    shown_registry.result[member] = values;
}

} // namespace

outcome list_profiles(const utm_id_registry& registry)
{
    outcome listed = {.result = json::array(), .rows = table{{{"ID"}, {"CF-POLICY"}, {"APP-POLICY"}}, {}}};
    for (size_t slot = 0; slot < UTM_ID_SLOTS; ++slot) {
        const binding one = slot_of(registry, slot);
        if (one.profile == 0)
            continue;
        listed.result.push_back(json_of(one));
        listed.rows->rows.push_back({shown(one.profile), shown(one.cf_policy), shown(one.app_policy)});
    }
    return listed;
}

// A free slot may still hold the bindings of an earlier profile, which the next profile in it will find: it is shown.
outcome show_registry(const utm_id_registry& registry, bool cleared)
{
    outcome all = {.result = {{"cleared", cleared}},
                   .rows = table{{{"KIND", false}, {"SLOT"}, {"ID"}, {"CF-POLICY"}, {"APP-POLICY"}}, {}}};
    json profiles = json::array();
    for (size_t slot = 0; slot < UTM_ID_SLOTS; ++slot) {
        const binding one = slot_of(registry, slot);
        if (one.profile == 0 && one.cf_policy == 0 && one.app_policy == 0)
            continue;
        profiles.push_back(json_of(one));
        all.rows->rows.push_back(
            {"profile", std::to_string(slot), shown(one.profile), shown(one.cf_policy), shown(one.app_policy)});
    }
    all.result["profiles"] = profiles;
    show_policies(all, "cf-policy", "cf_policies", registry.cf_policies);
    show_policies(all, "app-policy", "app_policies", registry.app_policies);
    if (!cleared)
        all.confirmations.push_back(
            "not cleared since the gateway started: the first profile or policy that is created will "
            "clear it");
    return all;
}
