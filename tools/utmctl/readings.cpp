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

constexpr std::string_view lookouts[] = {"doctor", "log", "status", "wait"};

} // namespace

bool is_reading(const std::string& words)
{
    return std::find(std::begin(readings), std::end(readings), words) != std::end(readings);
}

bool only_looks(const std::string& words)
{
    return std::find(std::begin(lookouts), std::end(lookouts), words) != std::end(lookouts);
}
