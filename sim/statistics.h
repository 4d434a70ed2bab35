#pragma once

#include "sim/app_state.h"
#include "sim/config_status.h"

#include <string>

// The statistics file: a JSON object whose "profiles" have an "id" each, and the members of their usage.
namespace sim {

config_status export_statistics(const app_state& state, const std::string& path);

// Replaces the usage of the profiles that the file names. Those that the daemon does not know are left out.
config_status import_statistics(app_state& state, const std::string& path);

} // namespace sim
