#include "tools/utmctl/log_entry.h"

#include "kqutm/common.h"

#include "operations/function.h"
#include "tools/utmctl/number.h"

#include <algorithm>

constinit const log_family log_families[4] = {
    {"config", UTM_APPCF_LOG, false},
    {"ips", UTM_IPS_LOG, true},
    {"devid", UTM_DEVID_LOG, true},
    {"common", UTM_COMMON_LOG, false},
};

namespace {

constexpr std::string_view trace_mark = "response->";

// How the messages of the config log begin that may follow a trace message on its line.
constexpr std::string_view beginnings[] = {
    trace_mark,
    "utm_user_profile_",
    "utm_cf_",
    "utm_app_",
    "__utm_cf_",
    "add app policy(",
    "add cf policy(",
    "add mac to user profile",
    "app policy id(",
    "attach_utm_",
    "cf policy id(",
    "config cf policy block",
    "delete mac from user profile",
    "delete user profile fail",
    "get utm_",
    "open /",
    "Open /",
    "set app ",
    "The string length is too long.",
    "user profile id(",
};

bool is_name(std::string_view text)
{
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](unsigned char c) { return isalnum(c) || c == '_'; });
}

// The name in "[name]..."; else nothing.
std::string_view name_in_brackets(std::string_view text)
{
    const size_t end = text.find(']');
    if (!text.starts_with('[') || end == std::string_view::npos || !is_name(text.substr(1, end - 1)))
        return {};
    return text.substr(1, end - 1);
}

// A traced text may hold brackets, too, so that within a line the name has to be one of the library.
size_t next_function(std::string_view line, size_t from)
{
    size_t at = line.find('[', from);
    while (at != std::string_view::npos && operations::find_function(name_in_brackets(line.substr(at))) == nullptr)
        at = line.find('[', at + 1);
    return at;
}

size_t next_beginning(std::string_view line, size_t from)
{
    size_t next = std::min(line.size(), next_function(line, from));
    for (const std::string_view beginning : beginnings)
        next = std::min(next, line.find(beginning, from));
    return next;
}

void find_function(log_entry& entry)
{
    entry.function = name_in_brackets(entry.text);
}

// "name(line) ..."
void find_function_and_line(log_entry& entry)
{
    const std::string_view text = entry.text;
    const size_t open = text.find('(');
    const size_t close = text.find(") ");
    if (close == std::string_view::npos || open >= close || !is_name(text.substr(0, open)))
        return;
    const std::optional<int> line = number_of<int>(text.substr(open + 1, close - open - 1));
    if (!line)
        return;
    entry.function = text.substr(0, open);
    entry.line = line;
}

log_entry entry_of(const log_family& family, std::string_view text)
{
    log_entry entry = {.function = {}, .line = {}, .text = std::string(text)};
    if (family.tells_lines)
        find_function_and_line(entry);
    else
        find_function(entry);
    return entry;
}

// What follows a trace message may be a part of its text that only looks like a beginning, with more of them behind it.
size_t end_of_message(std::string_view line, bool runs_together)
{
    if (!runs_together)
        return line.size();
    if (line.starts_with(trace_mark))
        return next_beginning(line, trace_mark.size());
    return std::min(line.size(), line.find(trace_mark));
}

void add_line(std::vector<log_entry>& entries, const log_family& family, std::string_view line)
{
    const bool runs_together = line.starts_with(trace_mark);
    while (!line.empty()) {
        const size_t end = end_of_message(line, runs_together);
        entries.push_back(entry_of(family, line.substr(0, end)));
        line.remove_prefix(end);
    }
}

} // namespace

std::vector<log_entry> entries_in(const log_family& family, std::string_view text)
{
    std::vector<log_entry> entries;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        add_line(entries, family, text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return entries;
}
