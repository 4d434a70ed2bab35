#pragma once

#include "tools/utmctl/outcome.h"

#include "kqutm/registry.h"

// The registry as results and tables.

outcome list_profiles(const utm_id_registry& registry);
outcome show_registry(const utm_id_registry& registry, bool cleared);
