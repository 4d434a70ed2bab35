#pragma once

#include "tools/utmctl/command.h"
#include "tools/utmctl/finding.h"

#include "kqutm/registry.h"

// What is wrong with the slots of a registry.
findings audit_slots(const utm_id_registry& registry);

outcome audit_registry(const request& asked);
outcome show_lock(const request& asked);
