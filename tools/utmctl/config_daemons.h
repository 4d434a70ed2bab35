#pragma once

#include "tools/utmctl/service.h"

#include "kqutm/daemon.h"

#include <array>
#include <string>
#include <vector>

// The three config daemons, in the order of their config targets, and what is known of exchanges with them.

struct config_daemon : service {
    const char* word; // in results
};

constexpr std::array<config_daemon, 3> config_daemons = {{
    {{"content-filter", UTM_CF_CONFIG_SOCKET}, "content_filter"},
    {{"application", UTM_APP_CONFIG_SOCKET}, "application"},
    {{"user-profile", UTM_USER_PROFILE_SOCKET}, "user_profile"},
}};

// Why no connection to the daemon's socket can be made now; 0 when it can.
int connect_error(const config_daemon& daemon);

// The failed exchanges that the lines of the log tell of, in order.
std::vector<failed_exchange> failed_exchanges(const std::vector<std::string>& log);
