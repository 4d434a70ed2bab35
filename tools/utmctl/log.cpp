#include "operations/time.h"
#include "tools/utmctl/ending.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/log_entry.h"
#include "tools/utmctl/log_tail.h"
#include "tools/utmctl/number.h"
#include "tools/utmctl/output.h"

#include "kqutm/common.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

// The diagnostic logs of the library, as they are and as they grow.

namespace {

constexpr double look_interval = 0.1; // seconds
constexpr size_t lines_before_following = 10;

struct shown_log {
    const log_family* family;
    log_place read; // as far as it was shown
};

struct shown_entry {
    const log_family* family;
    log_entry entry;
};

using shown_entries = std::vector<shown_entry>;

std::string check_family(const std::string& text)
{
    std::string words;
    for (const log_family& one : log_families) {
        if (text == one.word)
            return "";
        words += (words.empty() ? "" : ", ") + std::string(one.word);
    }
    return in_quotes(text) + " has no log; these have one: " + words +
           "; profile, cf, app and registry write to config, uuid to common, av and ir to none";
}

timespec last_change(const log_family& family)
{
    struct stat status = {};
    stat(family.path, &status);
    return status.st_mtim;
}

std::vector<shown_log> chosen_logs(const request& asked)
{
    std::vector<shown_log> logs;
    for (const log_family& one : log_families) {
        if (!asked.has("FAMILY") || asked.one("FAMILY") == one.word)
            logs.push_back({&one, {}});
    }
    return logs;
}

// Messages carry no time: the log that was written to last comes last.
void sort_by_last_change(std::vector<shown_log>& logs)
{
    std::stable_sort(logs.begin(), logs.end(), [](const shown_log& a, const shown_log& b) {
        const timespec first = last_change(*a.family);
        const timespec second = last_change(*b.family);
        return std::pair(first.tv_sec, first.tv_nsec) < std::pair(second.tv_sec, second.tv_nsec);
    });
}

bool is_missing(const std::string& path)
{
    return access(path.c_str(), F_OK) != 0 && errno == ENOENT;
}

struct kind_of_file {
    mode_t type;
    int access; // that reading it takes
    const char* other;
};

constexpr kind_of_file file = {S_IFREG, R_OK, "is no file"};
constexpr kind_of_file folder = {S_IFDIR, X_OK, "is no folder"};

// Why what is there cannot be read; nothing when it can.
std::string obstacle(const std::string& path, const kind_of_file& kind)
{
    struct stat status = {};
    if (is_missing(path))
        return "";
    if (stat(path.c_str(), &status) == 0 && (status.st_mode & S_IFMT) != kind.type)
        return kind.other;
    return access(path.c_str(), kind.access) == 0 ? "" : std::string("cannot be read: ") + strerror(errno);
}

void tell_obstacle(outcome& told, const log_family& family, const std::string& path)
{
    const std::string cause = obstacle(path, file);
    if (cause.empty())
        return;
    told.status = exit_status::done_in_part;
    told.problems.push_back({.status = told.status,
                             .what = std::string("the log of ") + family.word + " was not shown whole",
                             .culprits = {{"the file", path, cause}},
                             .next = "make it a file that can be read, or run the command as its owner"});
}

void add_entries(shown_entries& entries, const log_family& family, const std::string& text)
{
    for (log_entry& one : entries_in(family, text))
        entries.push_back({&family, std::move(one)});
}

// Both generations, the older one first.
shown_entries read_whole(std::vector<shown_log>& logs)
{
    sort_by_last_change(logs);
    shown_entries entries;
    for (shown_log& one : logs) {
        log_place older;
        std::string text = read_log(older_generation(one.family->path), older);
        text += read_log(one.family->path, one.read);
        add_entries(entries, *one.family, text);
    }
    return entries;
}

shown_entries read_more(std::vector<shown_log>& logs)
{
    sort_by_last_change(logs);
    shown_entries entries;
    for (shown_log& one : logs)
        add_entries(entries, *one.family, read_log(one.family->path, one.read));
    return entries;
}

void keep_last(shown_entries& entries, size_t most)
{
    if (entries.size() > most)
        entries.erase(entries.begin(), entries.end() - static_cast<ptrdiff_t>(most));
}

// The time is known of a message that came while somebody looked.
json json_of(const shown_entry& one, const json& time)
{
    return {{"time", time},
            {"family", one.family->word},
            {"function", one.entry.function.empty() ? json() : json(one.entry.function)},
            {"line", one.entry.line ? json(*one.entry.line) : json()},
            {"text", one.entry.text}};
}

std::string line_of(const shown_entry& one)
{
    return std::string(one.family->word) + ": " + printable(one.entry.text);
}

std::string list_of(const json& words)
{
    std::string list;
    for (const json& one : words)
        list.append(list.empty() ? "" : ", ").append(one.get<std::string>());
    return list;
}

// Of one log its place is told; where all are shown, those without messages are what is to be expected.
std::string notice_of(const json& missing, const std::vector<shown_log>& logs)
{
    if (logs.size() > 1)
        return "no messages yet: " + list_of(missing);
    const log_family& only = *logs.front().family;
    return std::string("there is no log of ") + only.word + " (" + only.path + "): nothing was written to it yet";
}

// Below what is no folder, or none to be entered, no log can be looked for.
void look_into_folder()
{
    const std::string path = std::filesystem::path(UTM_COMMON_LOG).parent_path();
    const std::string cause = obstacle(path, folder);
    if (!cause.empty())
        throw failure({.status = exit_status::done_in_part,
                       .what = "the logs were not shown",
                       .culprits = {{"the log folder", path, cause}},
                       .next = "'utmctl doctor' tells what to do about it"});
}

// What is not there, or cannot be read.
outcome look_at(const std::vector<shown_log>& logs)
{
    look_into_folder();
    outcome told = {.result = {{"entries", json::array()}, {"missing", json::array()}}};
    for (const shown_log& one : logs) {
        const std::string path = one.family->path;
        tell_obstacle(told, *one.family, older_generation(path));
        tell_obstacle(told, *one.family, path);
        if (is_missing(path) && is_missing(older_generation(path)))
            told.result["missing"].push_back(one.family->word);
    }
    const json& missing = told.result["missing"];
    if (!missing.empty())
        told.notices.push_back(notice_of(missing, logs));
    return told;
}

// A line that repeats stands once.
std::vector<std::string> lines_of(const shown_entries& entries)
{
    std::vector<std::string> lines;
    for (size_t at = 0; at < entries.size();) {
        const std::string line = line_of(entries[at]);
        const auto begin = entries.begin() + static_cast<ptrdiff_t>(at);
        const auto end =
            std::find_if(begin, entries.end(), [&](const shown_entry& one) { return line_of(one) != line; });
        const auto times = end - begin;
        lines.push_back(line + (times > 1 ? " (" + std::to_string(times) + " times)" : ""));
        at += static_cast<size_t>(times);
    }
    return lines;
}

void print_entries(result_stream& out, const output_style& style, const shown_entries& entries, const json& time)
{
    const unbroken line_by_line;
    std::string text;
    for (const shown_entry& one : entries) {
        if (style.json)
            out.print(json_of(one, time));
        else
            text += line_of(one) + "\n";
    }
    out.print(text);
}

outcome follow(std::vector<shown_log>& logs, const shown_entries& first, const outcome& told, const output_style& style)
{
    end_on_signals();
    print_notices(told, style);
    for (const problem& one : told.problems)
        print_problem(one);
    result_stream out;
    print_entries(out, style, first, {});
    while (out.is_taken()) {
        sleep_for(look_interval);
        print_entries(out, style, read_more(logs), operations::time_now(3));
    }
    outcome end = {.status = told.status, .printed = true};
    out.tell_loss(end);
    return end;
}

outcome show_log(const request& asked)
{
    const size_t unless_asked = asked.has("-f") ? lines_before_following : SIZE_MAX;
    if (asked.has("-f") && asked.explain)
        refuse_usage("log -f: --explain has nothing to tell: following logs nothing itself",
                     "'utmctl explain TEXT' explains a message");
    std::vector<shown_log> logs = chosen_logs(asked);
    outcome told = look_at(logs);
    shown_entries entries = read_whole(logs);
    keep_last(entries, asked.has("--lines") ? whole_of<size_t>(asked.one("--lines")) : unless_asked);
    if (asked.has("-f"))
        return follow(logs, entries, told, asked.style);
    for (const shown_entry& one : entries)
        told.result["entries"].push_back(json_of(one, {}));
    told.lines = lines_of(entries);
    return told;
}

bool follows(const request& asked)
{
    return asked.has("-f");
}

constexpr argument family_and_ways[] = {
    {"FAMILY", occurs::at_most_once, check_family, "config, ips, devid or common; without it, all of them"},
    {"-f", occurs::flag, nullptr, "go on with what is written from now on, until a signal"},
    {"--lines", occurs::at_most_once, check_whole<0, INT64_MAX>,
     "the last so many messages alone; with -f the last 10 unless another number is given", "NUMBER"},
};

constexpr command commands[] = {
    {.word = "",
     .arguments = family_and_ways,
     .run = show_log,
     .help = "show the diagnostic logs of the library, both generations, and follow them",
     .example = "log ips -f",
     .streams = follows},
};

} // namespace

constinit const family logs_family = {"log", "the diagnostic logs of the library", commands};
