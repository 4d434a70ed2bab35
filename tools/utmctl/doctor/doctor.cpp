#include "tools/utmctl/doctor/checks.h"

#include "tools/utmctl/families.h"

#include <algorithm>

namespace doctor {

namespace {

constexpr double seconds_for_a_daemon = 2;

struct check {
    const char* name;
    findings (*run)(const examination& box);
};

constexpr check checks[] = {
    {"sockets", check_sockets},
    {"key-file", check_key_file},
    {"left-behind", check_left_behind},
    {"segments", check_segments},
    {"locks", check_locks},
    {"marker", check_marker},
    {"slots", check_slots},
    {"filter", check_filter},
    {"filter-daemon", check_filter_daemon},
    {"temporary-folder", check_temporary_folder},
    {"log-folder", check_log_folder},
    {"logs", check_logs},
    {"versions", check_versions},
};

examination examine(double seconds)
{
    const auto daemons = all_watched();
    const auto seen = look_at_all(daemons, [seconds](const watched_daemon& one) { return look_at(one, seconds); });
    examination box;
    for (size_t i = 0; i < daemons.size(); ++i)
        box.answers.push_back({*daemons[i], seen[i]});
    return box;
}

outcome run(const request& asked)
{
    const examination box = examine(asked.timeout);
    outcome told = {.result = json::array()};
    for (const check& one : checks)
        tell(told, one.run(box), one.name);
    if (told.lines.empty())
        told.confirmations.emplace_back("nothing wrong");
    return told;
}

constexpr command commands[] = {
    {.word = "",
     .run = run,
     .help = "find out what is wrong on this box, and what to do; changes nothing, and gives each daemon 2 s, or the "
             "--timeout",
     .example = "doctor",
     .timeout = seconds_for_a_daemon},
};

} // namespace

bool examination::works(const operations::daemon_row& daemon) const
{
    return std::any_of(answers.begin(), answers.end(),
                       [&](const watched_answer& one) { return &one.daemon.row == &daemon && one.seen.works(); });
}

} // namespace doctor

constinit const family doctor_family = {"doctor", "the search for what is wrong", doctor::commands};
