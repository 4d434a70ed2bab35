#pragma once

#include "tools/utmctl/arguments.h"
#include "tools/utmctl/command.h"
#include "tools/utmctl/config_daemons.h"

// The two kinds of policies, which are created and bound alike: in the registry, and in the daemon that holds them.

struct policy_kind {
    const char* word; // of its kind of identifier
    const config_daemon& daemon;
    kqutm::result<json> (*create)(const request& asked);
    kqutm::result<json> (*bind)(const request& asked);
};

extern const policy_kind cf_policies;
extern const policy_kind app_policies;

// Throws a failure, which starts with what, when the registry does not hold the identifier.
void demand_registered(const utm_id_registry& registry, const id_kind& kind, uint32_t id, const std::string& what);
template <utm_id_kind kind>
void demand_registered(const utm_id_registry& registry, kqutm::identifier<kind> id, const std::string& what)
{
    demand_registered(registry, kind_of_number(kind), static_cast<uint32_t>(id.number()), what);
}

outcome create_policy(const policy_kind& kind, const request& asked);
outcome bind_policy(const policy_kind& kind, const request& asked);

template <const policy_kind& kind> outcome create_policy(const request& asked)
{
    return create_policy(kind, asked);
}

template <const policy_kind& kind> outcome bind_policy(const request& asked)
{
    return bind_policy(kind, asked);
}
