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
};

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
    if (seen.is_stopped())
        return continuing(seen.process);
    const auto* row = std::find_if(std::begin(remedies), std::end(remedies),
                                   [&](const remedy_row& one) { return one.error == seen.error; });
    return row == std::end(remedies) ? "start " + name_of(who) + " again" : row->before + name_of(who) + row->behind;
}
