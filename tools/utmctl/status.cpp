#include "tools/utmctl/families.h"
#include "tools/utmctl/json_table.h"
#include "tools/utmctl/probe.h"
#include "tools/utmctl/process_name.h"
#include "tools/utmctl/remedy.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <thread>

// Whether the daemons are there: at a glance, or when they will be.

namespace {

using clock_type = std::chrono::steady_clock;

constexpr std::chrono::milliseconds between_attempts(50);
constexpr double glance = 2; // seconds

const char* state_of(const watched_daemon& daemon, const probe& seen)
{
    if (!seen.works())
        return word_of(seen.failed.status);
    return daemon.harmless ? "answers" : "connects";
}

json json_of(const watched_daemon& daemon, const probe& seen)
{
    return {{"daemon", daemon.row.name},
            {"socket", daemon.row.path},
            {"state", state_of(daemon, seen)},
            {"milliseconds", seen.works() ? json(std::round(seen.milliseconds * 10) / 10) : json()},
            {"pid", seen.process > 0 ? json(seen.process) : json()},
            {"process", seen.process > 0 ? json(own_name_of_process(seen.process)) : json()}};
}

void tell(outcome& told, const watched_daemon& daemon, const probe& seen, const std::string& what)
{
    told.result.push_back(json_of(daemon, seen));
    if (seen.works())
        return;
    told.status = std::max(told.status, seen.failed.status);
    told.problems.push_back({.status = seen.failed.status,
                             .what = what,
                             .culprits = {{name_of(daemon.who), daemon.row.path, seen.failed.cause}},
                             .next = remedy_for(daemon.who, seen)});
}

constexpr shown_member shown[] = {
    {"daemon", {"DAEMON", false}},   {"state", {"STATE", false, true}}, {"milliseconds", {"MS"}}, {"pid", {"PID"}},
    {"process", {"PROCESS", false}},
};

outcome show_status(const request& asked)
{
    const auto daemons = all_watched();
    const auto seen = look_at_all(daemons, [&](const watched_daemon& one) { return look_at(one, asked.timeout); });
    outcome told = {.result = json::array()};
    for (size_t i = 0; i < daemons.size(); ++i)
        tell(told, *daemons[i], seen[i], std::string(daemons[i]->row.name) + " is not ready");
    told.rows = table_of(told.result, shown);
    return told;
}

// Asks again and again, until the daemon works or the time is over.
probe wait_for(const watched_daemon& daemon, clock_type::time_point end)
{
    for (;;) {
        const std::chrono::duration<double> left = end - clock_type::now();
        const probe seen = look_at(daemon, left.count());
        if (seen.works() || clock_type::now() + between_attempts >= end)
            return seen;
        std::this_thread::sleep_for(between_attempts);
    }
}

constexpr char everyone[] = "all";

std::string check_daemon(const std::string& text)
{
    if (text == everyone || operations::find_daemon(text) != nullptr)
        return "";
    return in_quotes(text) + " is no daemon: " + names_of_daemons() + ", or all of them with " + everyone;
}

std::vector<const watched_daemon*> daemons_in(const std::vector<std::string>& given)
{
    const auto is_given = [&](const char* name) { return std::find(given.begin(), given.end(), name) != given.end(); };
    std::vector<const watched_daemon*> named;
    for (const watched_daemon* one : all_watched()) {
        if (is_given(everyone) || is_given(one->row.name))
            named.push_back(one);
    }
    return named;
}

outcome wait(const request& asked)
{
    const auto daemons = daemons_in(asked.all("DAEMON"));
    const auto end = clock_type::now() +
                     std::chrono::duration_cast<clock_type::duration>(std::chrono::duration<double>(asked.timeout));
    const auto seen = look_at_all(daemons, [end](const watched_daemon& one) { return wait_for(one, end); });
    char within[32];
    snprintf(within, sizeof within, " within %g s", asked.timeout);
    outcome told = {.result = json::array()};
    for (size_t i = 0; i < daemons.size(); ++i) {
        const std::string name = daemons[i]->row.name;
        tell(told, *daemons[i], seen[i], name + " was not ready" + within);
        if (seen[i].works())
            told.confirmations.push_back(name + " " + state_of(*daemons[i], seen[i]));
    }
    return told;
}

constexpr argument awaited_daemons[] = {
    {"DAEMON", occurs::at_least_once, check_daemon,
     "cf, app, user_profile, ips, devid, av or ir; all: every one of them"},
};

constexpr command status_commands[] = {
    {.word = "",
     .run = show_status,
     .help = "show of each daemon whether it answers, how fast, and its process; each gets 2 s, or the --timeout",
     .example = "status",
     .timeout = glance},
};

constexpr command wait_commands[] = {
    {.word = "",
     .arguments = awaited_daemons,
     .run = wait,
     .help = "wait until each of the daemons answers, for as long as --timeout tells",
     .example = "wait all --timeout 30"},
};

} // namespace

constinit const family status_family = {"status", "the daemons at a glance", status_commands};
constinit const family wait_family = {"wait", "the daemons' start", wait_commands};
