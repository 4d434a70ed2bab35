#pragma once

#include "tools/utmctl/arguments.h"
#include "tools/utmctl/command.h"
#include "tools/utmctl/config_daemons.h"

#include "kqutm/registry.h"

// The two kinds of policies, which are created and bound alike: in the registry, and in the daemon that holds them.

struct policy_kind {
    const char* word; // of its kind of identifier
    const config_daemon& daemon;
    int32_t (*create)(int32_t id);
    int32_t (*bind)(int32_t profile, int32_t policy);
};

extern const policy_kind cf_policies;
extern const policy_kind app_policies;

// Throws a failure, which starts with what, when the registry does not hold the identifier.
void demand_registered(const utm_id_registry& registry, const id_kind& kind, int32_t id, const std::string& what);

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
