#pragma once

#include "tools/utmctl/command.h"

extern const family profile_family;
extern const family registry_family;
extern const family version_family;
extern const family help_family;
