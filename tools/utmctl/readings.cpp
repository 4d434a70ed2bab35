#include "tools/utmctl/readings.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace {

// The library's queries of identifiers and devices leave lines in its log, but nothing else.
constexpr std::string_view readings[] = {
    "profile list",
    "profile mapping",
    "profile get-daily-limit-enable",
    "profile get-daily-limit",
    "profile get-weekday-limits",
    "profile get-extension",
    "profile usage",
    "profile app-usage",
    "profile app-usage-days",
    "profile domains",
    "cf status",
    "app status",
    "app get-export-interval",
    "ips status",
    "ips rules",
    "devid status",
    "devid devices",
    "devid timestamp",
    "av status",
    "av cache",
    "av whitelist",
    "ir version",
    "ir whitelist",
    "ir blacklist",
    "registry show",
    "registry check",
    "registry audit",
    "registry lock-status",
    "uuid get",
    "doctor",
    "status",
    "wait",
    "complete",
    "explain",
    "describe",
    "log",
    "version",
    "help",
};

constexpr char looks[] = "only looks";
constexpr char explains[] = "only explains";

struct idle {
    std::string_view words;
    const char* deed;
};

constexpr idle idle_commands[] = {
    {"complete", explains}, {"describe", explains}, {"doctor", looks},  {"explain", explains}, {"help", explains},
    {"log", looks},         {"status", looks},      {"version", looks}, {"wait", looks},
};

struct unwatched {
    std::string_view words;
    const char* reason;
};

constexpr unwatched unwatched_commands[] = {
    {"batch", "runs other commands"},
    {"watch", "goes on by itself"},
    {"wait", "waits by itself"},
    {"complete", "tells the same each time"},
    {"describe", "tells the same each time"},
    {"explain", "tells the same each time"},
    {"help", "tells the same each time"},
    {"version", "tells the same each time"},
};

} // namespace

bool is_reading(const std::string& words)
{
    return std::find(std::begin(readings), std::end(readings), words) != std::end(readings);
}

const char* hindrance_to_watch(const std::string& words)
{
    const auto* found = std::find_if(std::begin(unwatched_commands), std::end(unwatched_commands),
                                     [&](const unwatched& one) { return words == one.words; });
    if (found != std::end(unwatched_commands))
        return found->reason;
    return is_reading(words) ? nullptr : "changes something";
}

const char* idle_deed(const std::string& words)
{
    const auto* found = std::find_if(std::begin(idle_commands), std::end(idle_commands),
                                     [&](const idle& one) { return words == one.words; });
    return found != std::end(idle_commands) ? found->deed : nullptr;
}
