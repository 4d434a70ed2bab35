#include "tools/utmctl/remedy.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct remedy_row {
    int error;
    const char* before; // the name of the daemon
    const char* behind;
};

constexpr remedy_row remedies[] = {
    {ENOENT, "start ", ""},
    {ECONNREFUSED, "start ", " again"},
    {EACCES, "run the command as root to reach ", ""},
    {ETIMEDOUT, "find out why ", " hangs, or start it again"},
    {ENODATA, "find out why ", " breaks off, or start it again"},
    {EPIPE, "find out why ", " breaks off, or start it again"},
    {ECONNRESET, "find out why ", " breaks off, or start it again"},
    {EPROTO, "check that ", " and the library are of one version"},
    {EOVERFLOW, "find out why ", " does not end its list, or start it again"},
};

constexpr char log_tells[] = "the daemon's own log tells the reason";

std::string remedy_for(const std::string& name, int error)
{
    const auto* row = std::find_if(std::begin(remedies), std::end(remedies),
                                   [&](const remedy_row& one) { return one.error == error; });
    return row == std::end(remedies) ? "start " + name + " again" : row->before + name + row->behind;
}

std::string names_of(const std::vector<service>& daemons)
{
    if (daemons.size() == 1)
        return name_of(daemons.front());
    return daemons.empty() ? "the daemon" : "each of these daemons";
}

// Nobody but the daemon can tell why it refuses, nor the library what it has not logged.
bool only_daemon_knows(int error)
{
    return error == EREMOTEIO || error == 0;
}

std::string remedy_now(const failed_daemons& failed)
{
    return failed.stopped != 0 ? continuing(failed.stopped) : remedy_for(failed.daemons, failed.error);
}

uid_t user_of(int process)
{
    struct stat folder = {};
    stat(("/proc/" + std::to_string(process)).c_str(), &folder);
    return folder.st_uid;
}

} // namespace

std::string remedy_of_user(uid_t user, const std::string& remedy)
{
    const bool is_open = geteuid() == 0 || geteuid() == user;
    return is_open ? remedy : "as root: " + remedy;
}

std::string continuing(int process)
{
    return remedy_of_user(user_of(process), "continue it with 'kill -CONT " + std::to_string(process) + "'");
}

std::string remedy_for(const service& who, const probe& seen)
{
    return seen.is_stopped() ? continuing(seen.process) : remedy_for(name_of(who), seen.error);
}

std::string remedy_for(const std::vector<service>& daemons, int error)
{
    return remedy_for(names_of(daemons), error);
}

failed_daemons which_failed(const service& daemon, const failed_exchange& failed)
{
    return {.daemons = {daemon}, .error = failed.error, .stopped = failed.stopped};
}

std::string next_after(const failed_daemons& failed)
{
    if (only_daemon_knows(failed.error))
        return log_tells;
    return failed.error == EACCES ? remedy_now(failed) : next_after(failed, "run the command again");
}

std::string next_after(const failed_daemons& failed, const std::string& step)
{
    return only_daemon_knows(failed.error) ? log_tells + ("; " + step) : remedy_now(failed) + ", then " + step;
}
