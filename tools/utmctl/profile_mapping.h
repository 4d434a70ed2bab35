#pragma once

#include "tools/utmctl/command.h"

// The library's own list of profiles with the content-filter policies that are bound to them.
outcome show_mapping(const request& asked);
