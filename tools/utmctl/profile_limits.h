#pragma once

#include "tools/utmctl/config_deed.h"

// Usage and time limits of a profile, and the domains that its devices browsed.

extern const config_change set_daily_limit_enable;
extern const config_change set_daily_limit;
extern const config_change set_weekday_limit;
extern const config_change set_extension;
extern const config_change reset_extension;

extern const config_reading daily_limit_enable;
extern const config_reading daily_limit;
extern const config_reading weekday_limits;
extern const config_reading extension;
extern const config_reading usage;
extern const config_reading app_usage;
extern const config_reading app_usage_days;
extern const config_reading browsed_domains;
