#pragma once

#include "registry/registry.h"

// Where the registry keeps the policies of one kind and their bindings to user profiles.
struct policy_kind {
    uint32_t kind; // an utm_id_kind
    char name[4];
    id_table utm_id_registry::*bindings;
    id_table utm_id_registry::*policies;
};

namespace policies {

inline constexpr policy_kind cf = {.kind = UTM_ID_CF_POLICY,
                                   .name = "cf",
                                   .bindings = &utm_id_registry::cf_bindings,
                                   .policies = &utm_id_registry::cf_policies};
inline constexpr policy_kind app = {.kind = UTM_ID_APP_POLICY,
                                    .name = "app",
                                    .bindings = &utm_id_registry::app_bindings,
                                    .policies = &utm_id_registry::app_policies};

} // namespace policies

// Reserves an identifier of a kind, clearing the registry on the first use after a start. Returns the identifier, or
// -1; text, with the name of the operation, is logged when there is none to be had.
int32_t reserve_id(uint32_t requested, uint32_t kind, const char* text, const char* operation = __builtin_FUNCTION());

// Gives a reserved identifier back after a failure, and keeps its errno.
void release_id(int32_t id, uint32_t kind);

// Records in the registry that a policy is bound to a profile. True when the daemon is to be told now; otherwise result
// is what the operation returns.
bool record_binding(const policy_kind& kind, uint32_t profile, uint32_t policy, int32_t& result);
