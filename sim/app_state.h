#pragma once

#include "kqutm/daemon.h"
#include "sim/id_table.h"
#include "sim/unique_list.h"

namespace sim {

struct weekday_limit {
    int32_t weekday = 0;
    int32_t limit = 0;

    static void members(auto& self, auto&& each)
    {
        each("weekday", self.weekday);
        each("limit", self.limit);
    }
};

struct app_limits {
    int32_t daily_limit_enable = 0;
    int32_t daily_limit = 0;
    std::vector<weekday_limit> weekday_limits;
    int32_t extension = 0;

    static void members(auto& self, auto&& each)
    {
        each("daily_limit_enable", self.daily_limit_enable);
        each("daily_limit", self.daily_limit);
        each("weekday_limits", self.weekday_limits);
        each("extension", self.extension);
    }
};

struct app_today {
    uint32_t app = 0;
    uint32_t minutes = 0;

    static void members(auto& self, auto&& each)
    {
        each("app", self.app);
        each("minutes", self.minutes);
    }
};

constexpr size_t days_kept = sizeof(utm_event_response::prev_days_figures) / sizeof(uint32_t);

struct app_earlier {
    uint32_t app = 0;
    numbers<days_kept> minutes; // of yesterday, of the day before, and so on

    static void members(auto& self, auto&& each)
    {
        each("app", self.app);
        each("minutes", self.minutes);
    }
};

// In minutes. What these figures are is the simulator's own invention.
struct app_usage {
    uint32_t today = 0;
    uint32_t week = 0;
    uint32_t month = 0;
    std::vector<app_today> apps;
    std::vector<app_earlier> earlier_days;

    static void members(auto& self, auto&& each)
    {
        each("today", self.today);
        each("week", self.week);
        each("month", self.month);
        each("apps", self.apps);
        each("earlier_days", self.earlier_days);
    }
};

struct app_profile {
    unique_list<mac_address> devices;
    int32_t policy = 0; // 0: none
    app_limits limits;
    app_usage usage;

    static void members(auto& self, auto&& each)
    {
        each("devices", self.devices);
        each("policy", self.policy);
        each("limits", self.limits);
        each("usage", self.usage);
    }
};

struct app_policy {
    std::vector<opaque<UTM_APP_ENTRY_SIZE>> entries;
    static void members(auto& self, auto&& each) { each("entries", self.entries); }
};

// The three status words; the simulator leaves them without a meaning.
struct status_words {
    uint32_t first = 0;
    uint32_t second = 0;
    uint32_t third = 0;

    static void members(auto& self, auto&& each)
    {
        each("first", self.first);
        each("second", self.second);
        each("third", self.third);
    }
};

// What the application daemon holds.
struct app_state {
    id_table<app_profile> profiles;
    id_table<app_policy> policies;
    int32_t active = 0;
    int32_t debug = 0;
    status_words status;
    std::optional<std::string> signature; // path of the file that the last update named
    int32_t export_interval = 0;

    static void members(auto& self, auto&& each)
    {
        each("profiles", self.profiles);
        each("policies", self.policies);
        each("active", self.active);
        each("debug", self.debug);
        each("status", self.status);
        each("signature", self.signature);
        each("export_interval", self.export_interval);
    }
};

} // namespace sim
