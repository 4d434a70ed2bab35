#pragma once

#include "tools/utmctl/command.h"

extern const family profile_family;
extern const family registry_family;
extern const family ips_family;
extern const family devid_family;
extern const family av_family;
extern const family ir_family;
extern const family version_family;
extern const family help_family;
