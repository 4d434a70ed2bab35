#pragma once

#include "tools/utmctl/command.h"

extern const family profile_family;
extern const family cf_family;
extern const family app_family;
extern const family reset_family;
extern const family registry_family;
extern const family ips_family;
extern const family devid_family;
extern const family av_family;
extern const family ir_family;
extern const family doctor_family;
extern const family status_family;
extern const family wait_family;
extern const family uuid_family;
extern const family sys_family;
extern const family complete_family;
extern const family explain_family;
extern const family call_family;
extern const family describe_family;
extern const family batch_family;
extern const family watch_family;
extern const family logs_family;
extern const family version_family;
extern const family help_family;
