#pragma once

#include "tools/utmctl/service.h"

#include "operations/daemons.h"
#include "operations/record.h"

#include <functional>
#include <optional>
#include <vector>

// One exchange with a daemon, to see how it does. It does without the library, which would write to the diagnostic
// logs, and leaves nothing behind.

struct watched_daemon {
    const operations::daemon_row& row;
    service who;
    std::optional<uint32_t> harmless; // a code that reads alone; the user-profile daemon knows none
};

inline constexpr watched_daemon watched_daemons[] = {
    {operations::cf_daemon, {"content-filter", UTM_CF_CONFIG_SOCKET}, UTM_CF_GET_BROWSED_DOMAINS},
    {operations::app_daemon, {"application", UTM_APP_CONFIG_SOCKET}, UTM_APP_GET_DAEMON_STATUS},
    {operations::user_profile_daemon, {"user-profile", UTM_USER_PROFILE_SOCKET}, {}},
    {operations::ips_daemon, {"IPS", UTM_IPS_SOCKET}, UTM_IPS_SHOW_STATUS},
    {operations::devid_daemon, {"device-identification", UTM_DEVID_SOCKET}, UTM_DEVID_GET_LATEST_TIMESTAMP},
    {operations::av_daemon, {"anti-virus", UTM_AV_SOCKET}, UTM_AV_SHOW_STATUS},
    {operations::ir_daemon, {"IR", UTM_IR_SOCKET}, UTM_IR_SHOW_DB_STATUS},
};

struct probe {
    failed_exchange failed = {exit_status::done, "",
                              ""}; // done: it answered, or took the connection where it is not asked
    int error = 0;                 // errno of what failed
    int process = 0;               // that listens at the socket; 0 where that is not known
    double milliseconds = 0;       // until the exchange ended
    operations::record reply = {};

    bool works() const { return failed.status == exit_status::done; }
    bool is_stopped() const; // the process
};

// Sends the request, if there is one, and waits for the answer, of which the last record is kept. Without a request the
// connection is enough, but that of a process that is stopped.
probe exchange_with(const operations::daemon_row& daemon, const operations::record& request, double seconds);

// The daemon's harmless request. Every answer of the right size will do: a refusal shows a daemon that works.
probe look_at(const watched_daemon& daemon, double seconds);

// What look tells of each of the daemons, all of them asked at the same time.
std::vector<probe> look_at_all(const std::vector<const watched_daemon*>& daemons,
                               const std::function<probe(const watched_daemon&)>& look);

// The process that listens at the daemon's socket, where it is stopped; else 0.
int stopped_process_of(const service& who);

// Adds to an exchange that had no answer that the daemon's process is stopped, where it is.
void look_for_stopped_process(failed_exchange& failed, const service& who);

// ": process 4711 (name) is stopped", or empty: what the process behind a socket tells of a daemon that does not work.
std::string told_of_process(int process);

std::vector<const watched_daemon*> all_watched();

// "one of cf, app, ..."
std::string names_of_daemons();
