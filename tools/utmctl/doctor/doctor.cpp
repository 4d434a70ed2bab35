#include "tools/utmctl/doctor/checks.h"

#include "tools/utmctl/families.h"

#include <algorithm>
#include <cerrno>

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

struct diagnosis {
    const check* by;
    finding found;
};

// The worst first, and those alike in the order of the checks.
std::vector<diagnosis> diagnose(const examination& box)
{
    std::vector<diagnosis> all;
    for (const check& one : checks) {
        for (const finding& found : one.run(box))
            all.push_back({&one, found});
    }
    std::stable_sort(all.begin(), all.end(), [](const diagnosis& one, const diagnosis& other) {
        return one.found.how_bad > other.found.how_bad;
    });
    return all;
}

finding nobody_here()
{
    return {severity::error, "none of the seven daemons runs here: not one of their sockets exists",
            "run this on the gateway, or start the daemons"};
}

// Seven lines that say the same would hide the others: that there is no daemon at all is told in one.
std::vector<std::string> lines_of(const std::vector<diagnosis>& all, bool with_sockets)
{
    std::vector<std::string> lines;
    if (!with_sockets)
        lines.push_back(line_of(nobody_here()));
    for (const diagnosis& one : all) {
        if (with_sockets || one.by->run != check_sockets)
            lines.push_back(line_of(one.found));
    }
    return lines;
}

outcome run(const request& asked)
{
    const examination box = examine(asked.timeout);
    const std::vector<diagnosis> all = diagnose(box);
    outcome told = {.result = json::array()};
    for (const diagnosis& one : all)
        record(told, one.found, one.by->name);
    told.lines = lines_of(all, !box.is_deserted());
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

bool examination::is_deserted() const
{
    return std::all_of(answers.begin(), answers.end(),
                       [](const watched_answer& one) { return one.seen.error == ENOENT; });
}

bool examination::works(const operations::daemon_row& daemon) const
{
    return std::any_of(answers.begin(), answers.end(),
                       [&](const watched_answer& one) { return &one.daemon.row == &daemon && one.seen.works(); });
}

} // namespace doctor

constinit const family doctor_family = {"doctor", "the search for what is wrong", doctor::commands};
