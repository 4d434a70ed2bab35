#include "tools/utmctl/doctor/checks.h"

#include "tools/utmctl/number.h"
#include "tools/utmctl/remedy.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

// The content filter's switches, which stand in files, in the kernel and in its daemon.
namespace doctor {

namespace {

constexpr time_t patience = 10; // seconds that the daemon has to take a command

bool exists(const char* path)
{
    return access(path, F_OK) == 0;
}

std::optional<std::string> first_line(const char* path)
{
    std::ifstream file(path);
    if (!file.is_open())
        return {};
    std::string line;
    std::getline(file, line);
    return line;
}

// As the library reads it: up to three characters as a number.
bool is_switched_on(const std::optional<std::string>& line)
{
    return line && atoi(line->substr(0, 3).c_str()) != 0;
}

const char* state_of(bool on)
{
    return on ? "on" : "off";
}

// The problem of the first file that is there and cannot be read.
std::optional<finding> unreadable_switch()
{
    for (const char* path : {UTM_CF_WEB_SAFE_BROWSING_FILE, UTM_CF_WEB_CATEGORY_FILE}) {
        if (exists(path) && !first_line(path))
            return finding{severity::error,
                           std::string("the switch file ") + path + " cannot be read (" + strerror(errno) +
                               "), so the content filter cannot be switched",
                           remedy_of_user(0, "make it a file that everybody may read, or remove it and switch its "
                                             "engine again")};
    }
    return {};
}

std::optional<finding> missing_in_kernel()
{
    for (const char* path : {UTM_CF_KERNEL_ENABLE, UTM_CF_KERNEL_HDF_ENABLE, UTM_CF_KERNEL_REDIRECT_URL}) {
        if (!exists(path))
            return finding{severity::warning,
                           std::string(path) + " cannot be found, so nothing is filtered in the kernel",
                           remedy_of_user(0, "load the content filter's kernel module")};
    }
    return {};
}

std::optional<finding> engines_against_marker()
{
    const bool wanted = is_switched_on(first_line(UTM_CF_WEB_SAFE_BROWSING_FILE)) ||
                        is_switched_on(first_line(UTM_CF_WEB_CATEGORY_FILE));
    const bool is = exists(UTM_CF_MARKER);
    if (wanted == is)
        return {};
    return finding{severity::error,
                   std::string(wanted ? "an engine" : "no engine") + " of the content filter is switched on, but " +
                       UTM_CF_MARKER + " tells that the filter as a whole is " + state_of(is),
                   remedy_of_user(0, "'utmctl cf activate' makes the filter follow its engines")};
}

struct kernel_switch {
    const char* path;
    const char* off;
    const char* on;
};

constexpr kernel_switch kernel_switches[] = {
    {UTM_CF_KERNEL_ENABLE, "0", "1"},
    {UTM_CF_KERNEL_HDF_ENABLE, "no", "yes"},
};

std::optional<finding> kernel_against_marker()
{
    const bool on = exists(UTM_CF_MARKER);
    for (const kernel_switch& one : kernel_switches) {
        const std::optional<std::string> found = first_line(one.path);
        const std::string expected = on ? one.on : one.off;
        if (found && *found != expected)
            return finding{on ? severity::error : severity::warning,
                           std::string("the content filter is ") + state_of(on) + ", but the kernel's switch " +
                               one.path + " holds " + in_quotes(*found) + " instead of " + in_quotes(expected),
                           remedy_of_user(0, std::string("'utmctl cf switch-kernel ") + state_of(on) + "' sets it")};
    }
    return {};
}

std::optional<finding> process_unknown()
{
    const std::optional<std::string> line = first_line(UTM_CF_PID_FILE);
    const std::string untold = "so the content-filter daemon does not learn when the filter is switched";
    const std::string remedy = "start the content-filter daemon again";
    if (!line)
        return finding{severity::warning,
                       std::string("the pid file ") + UTM_CF_PID_FILE + " cannot be read (" + strerror(errno) + "), " +
                           untold,
                       remedy};
    const std::optional<int64_t> process = parse_whole(*line);
    if (!process || *process <= 0)
        return finding{severity::warning,
                       std::string("the pid file ") + UTM_CF_PID_FILE + " holds " + in_quotes(*line) +
                           ", which is no process, " + untold,
                       remedy};
    if (!exists(("/proc/" + std::to_string(*process)).c_str()))
        return finding{severity::error,
                       std::string("the pid file ") + UTM_CF_PID_FILE + " names process " + std::to_string(*process) +
                           ", which has ended, " + untold,
                       remedy};
    return {};
}

std::optional<finding> stale_command()
{
    struct stat file;
    if (stat(UTM_CF_COMMAND_FILE, &file) != 0 || time(nullptr) - file.st_mtime < patience)
        return {};
    return finding{severity::warning,
                   std::string("the command in ") + UTM_CF_COMMAND_FILE +
                       " has not been taken, so the content-filter daemon is not switched as the kernel is",
                   "start the content-filter daemon again"};
}

} // namespace

// Each question makes sense once those before it are answered well.
findings check_filter(const examination&)
{
    for (const auto& question : {unreadable_switch, missing_in_kernel, engines_against_marker, kernel_against_marker}) {
        if (const auto wrong = question())
            return {*wrong};
    }
    return {};
}

// A daemon that does not work is told of by its socket.
findings check_filter_daemon(const examination& box)
{
    if (!box.works(operations::cf_daemon))
        return {};
    for (const auto& question : {process_unknown, stale_command}) {
        if (const auto wrong = question())
            return {*wrong};
    }
    return {};
}

} // namespace doctor
