#pragma once

#include "tools/utmctl/exit_status.h"

#include "kqutm/daemon.h"

#include <array>
#include <string>
#include <vector>

// The three config daemons, in the order of their config targets, and what is known of exchanges with them.

struct config_daemon {
    const char* word; // in results
    const char* name; // in sentences: "the NAME daemon"
    const char* socket;
};

constexpr std::array<config_daemon, 3> config_daemons = {{
    {"content_filter", "content-filter", UTM_CF_CONFIG_SOCKET},
    {"application", "application", UTM_APP_CONFIG_SOCKET},
    {"user_profile", "user-profile", UTM_USER_PROFILE_SOCKET},
}};

// An exchange that failed, as the log or errno tells it.
struct failed_exchange {
    exit_status status;
    std::string cause;  // completes "the application daemon (SOCKET) ..."
    std::string report; // the line that the operation itself wrote about it
};

std::string name_of(const config_daemon& daemon); // "the application daemon"

// Why no connection to the daemon's socket can be made now; 0 when it can.
int connect_error(const config_daemon& daemon);

failed_exchange exchange_failure(int error);

// The failed exchanges that the lines of the log tell of, in order.
std::vector<failed_exchange> failed_exchanges(const std::vector<std::string>& log);
