#pragma once

#include "tools/utmctl/outcome.h"

#include "kqutm.hpp"

#include <span>

// The registry as it stands, copied under its lock.

// Throws a failure, which starts with what, when the registry cannot be read.
utm_id_registry read_registry(const std::string& what, double seconds);

// The same after a deed, of which nobody knows what has come while it cannot be read.
utm_id_registry read_registry_again(const std::string& what, double seconds);

// The same at a glance, for who may see a change half made: neither locked nor created, and empty where there is none.
utm_id_registry registry_without_lock();

bool registry_was_cleared(); // since the gateway started
std::span<const uint32_t, UTM_ID_SLOTS> ids_of(const utm_id_registry& registry, uint32_t kind);
bool is_registered(const utm_id_registry& registry, uint32_t kind, uint32_t id);
template <utm_id_kind kind>
bool is_registered(const utm_id_registry& registry, const std::optional<kqutm::identifier<kind>>& id)
{
    return id && is_registered(registry, kind, static_cast<uint32_t>(id->number()));
}
bool is_empty(const utm_id_registry& registry);

// The problem of an identifier that the registry does not take: EEXIST, or ENOSPC.
problem registry_refusal(const std::string& what, int error);

// The problem of what is found by the key file, such as "the ID registry", and cannot be used.
problem keyed_problem(const char* name, const std::string& what, const std::string& cause, int error);

// The problem of a registry that cannot be used.
problem registry_problem(const std::string& what, const std::string& cause, int error);
