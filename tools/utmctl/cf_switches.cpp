#include "tools/utmctl/cf_switches.h"

#include "tools/utmctl/arguments.h"
#include "tools/utmctl/config_deed.h"
#include "tools/utmctl/file_path.h"
#include "tools/utmctl/json_table.h"
#include "tools/utmctl/log_watch.h"
#include "tools/utmctl/number.h"
#include "tools/utmctl/shell_deed.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <unistd.h>

namespace {

constexpr const config_daemon& content_filter = config_daemons[UTM_CONFIG_TARGET_CF];

struct filter_file {
    const char* member;
    const char* label;
    const char* path;
    enum {
        number,
        text,
        marker
    } holds; // of a marker, whether it exists is all that it tells
};

constexpr filter_file filter_files[] = {
    {"safe_browsing", "safe browsing", UTM_CF_WEB_SAFE_BROWSING_FILE, filter_file::number},
    {"web_category", "web category", UTM_CF_WEB_CATEGORY_FILE, filter_file::number},
    {"filter", "filter as a whole", UTM_CF_MARKER, filter_file::marker},
    {"kernel_enable", "kernel", UTM_CF_KERNEL_ENABLE, filter_file::number},
    {"kernel_hdf_enable", "kernel hdf", UTM_CF_KERNEL_HDF_ENABLE, filter_file::text},
    {"redirect_page", "redirect page", UTM_CF_KERNEL_REDIRECT_URL, filter_file::text},
    {"daemon_process", "daemon process", UTM_CF_PID_FILE, filter_file::number},
    {"daemon_command", "daemon command", UTM_CF_COMMAND_FILE, filter_file::number},
};

bool filter_is_on()
{
    return access(UTM_CF_MARKER, F_OK) == 0;
}

const char* state_of_filter()
{
    return filter_is_on() ? "on" : "off";
}

// The first line of the file; null when it cannot be read. A page of one zero byte is none.
json value_of(const filter_file& one)
{
    if (one.holds == filter_file::marker)
        return access(one.path, F_OK) == 0 ? "on" : "off";
    std::ifstream file(one.path);
    std::string line;
    if (!file.is_open())
        return {};
    std::getline(file, line);
    const std::string value = line.c_str();
    const std::optional<int64_t> number = one.holds == filter_file::number ? parse_whole(value) : std::nullopt;
    return number ? json(*number) : json(value);
}

// "switched on", "switched off" or "switched to 5"
std::string switched(int32_t value)
{
    if (value == 0 || value == 1)
        return std::string("switched ") + (value == 1 ? "on" : "off");
    return "switched to " + std::to_string(value);
}

// The engine's file that the library could not open, as its line tells; empty when there is no such line.
std::string unopened_file(const std::vector<std::string>& log)
{
    for (const std::string& line : log) {
        for (const char* path : {UTM_CF_WEB_SAFE_BROWSING_FILE, UTM_CF_WEB_CATEGORY_FILE}) {
            if (line == std::string("[utm_cf_activate]open ") + path + " fail")
                return path;
        }
    }
    return "";
}

problem unopened_problem(const std::string& what, const std::string& path, int error)
{
    return {.status = exit_status::done_in_part,
            .what = what,
            .culprits = {{"the switch file", path, std::string("cannot be opened: ") + strerror(error)}},
            .next = "make that file readable, then run the command again"};
}

[[noreturn]] void tell_no_page(const std::string& what, int error)
{
    throw failure({.status = exit_status::refused,
                   .what = what,
                   .culprits = {{"the kernel's file", UTM_CF_KERNEL_REDIRECT_URL,
                                 std::string("cannot be written: ") + strerror(error)}},
                   .next = error == ENOENT ? "load the content filter's kernel module, then run the command again"
                                           : "see that it is a file that may be written, and run the command as root"});
}

call_result call_without_lock(const deed_words& words, const request& asked, const std::vector<service>& daemons,
                              const std::function<kqutm::result<json>()>& body)
{
    return call_in_worker(maybe_done(words), asked.timeout, body, {.daemons = daemons, .registry_lock = false});
}

json append_kernel_dump(const std::string& path)
{
    dump_cf_activate(path.c_str());
    return true;
}

} // namespace

constinit const filter_engine safe_browsing = {"safe browsing", UTM_CF_WEB_SAFE_BROWSING_FILE,
                                               utm_cf_web_safe_browsing_activate};
constinit const filter_engine web_category = {"web-category filtering", UTM_CF_WEB_CATEGORY_FILE,
                                              utm_cf_web_category_activate};

problem engine_problem(const filter_engine& engine, const deed_words& words, int error,
                       const std::vector<std::string>& log)
{
    const std::string path = unopened_file(log);
    if (!path.empty())
        return unopened_problem(not_done(words) + ", though its file may say so", path, error);
    const std::string state =
        std::string(" (") + engine.file + " has the new value; the filter as a whole is " + state_of_filter() + ")";
    return exchange_problem(not_done(words) + state, content_filter, failed_exchange_with(content_filter, error, log));
}

// The value is in the engine's file, and the filter as a whole has followed, before the daemon answers.
outcome switch_engine(const filter_engine& engine, const request& asked)
{
    const int32_t value = switch_of(asked.one("SWITCH"));
    const deed_words words = {engine.name, switched(value)};
    const log_watch log(UTM_APPCF_LOG);
    const call_result call =
        call_without_lock(words, asked, {content_filter}, [&] { return as_json(done_if_zero(engine.call(value))); });
    outcome told = done_by_shell(words, {{"switch", value}, {"filter", state_of_filter()}}, call.printed);
    if (!call.result) {
        told.confirmations.clear();
        told.problems = {engine_problem(engine, words, call.result.error().error, log.lines())};
        told.status = told.problems.front().status;
    }
    return told;
}

outcome follow_engines(const request& asked)
{
    const deed_words words = {"the filter as a whole", "switched as its engines are"};
    const log_watch log(UTM_APPCF_LOG);
    const call_result call =
        call_without_lock(words, asked, {}, [] { return as_json(kqutm::filter::follow_engines()); });
    if (!call.result)
        throw failure(unopened_problem(not_done(words), unopened_file(log.lines()), call.result.error().error));
    return done_by_shell({words.subject, switched(filter_is_on() ? 1 : 0)}, {{"filter", state_of_filter()}},
                         call.printed);
}

outcome switch_kernel(const request& asked)
{
    const int32_t mode = switch_of(asked.one("MODE"));
    const deed_words words = {"the kernel's filter", switched(mode)};
    const call_result call = call_without_lock(words, asked, {}, [mode] { return json(__utm_cf_activate(mode)); });
    return done_by_shell(words, {{"mode", mode}}, call.printed);
}

outcome set_redirect_page(const request& asked)
{
    const std::string text = asked.has("TEXT") ? asked.one("TEXT") : "";
    const deed_words words = {"the redirect page", text.empty() ? "cleared" : "set"};
    const call_result call =
        call_without_lock(words, asked, {}, [&] { return as_json(kqutm::filter::set_redirect_page(text)); });
    if (!call.result)
        tell_no_page(not_done(words), call.result.error().error);
    return {.result = {{"page", text}}, .confirmations = {done(words)}};
}

outcome dump_kernel(const request& asked)
{
    const std::string path = path_of(asked.one("FILE"));
    const deed_words words = {"the dump of the kernel's switches", "appended to " + path};
    const call_result call = call_without_lock(words, asked, {}, [&] { return append_kernel_dump(path); });
    return done_by_shell(words, {{"file", path}}, call.printed);
}

outcome show_filter(const request&)
{
    outcome told = {.result = json::object(), .rows = table{{{"WHAT", false}, {"VALUE", false}}, {}}};
    for (const filter_file& one : filter_files) {
        const json value = value_of(one);
        told.result[one.member] = value;
        told.rows->rows.push_back({one.label, cell_of(value)});
    }
    return told;
}
