#pragma once

#include "sim/service.h"

#include <memory>
#include <span>
#include <string>

namespace sim {

// A row of the table of daemons: everything the framework has to know of one.
struct daemon_kind : daemon_row {
    int (*listen)(const daemon_row& kind);
    std::unique_ptr<service> (*make_service)();
};

std::span<const daemon_kind> daemon_kinds();

// Fails for a name that no daemon has.
const daemon_kind& daemon_named(const std::string& name);

} // namespace sim
