#pragma once

#include "tools/utmctl/command.h"
#include "tools/utmctl/profile_step.h"

// Profiles and their devices, which stand in the registry and in three daemons.

outcome create_profile(const request& asked);
outcome delete_profiles(const request& asked);
outcome add_devices(const request& asked);
outcome delete_devices(const request& asked);
outcome show_profiles(const request& asked);
outcome flush_profiles(const request& asked);

// What became of each profile that was registered before all were deleted.
outcome flushed_profiles(profile_evidence evidence);
