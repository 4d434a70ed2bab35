#include "tools/utmctl/doctor/checks.h"

#include "tools/utmctl/remedy.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace doctor {

namespace {

constexpr mode_t all_may_write = 0222; // which is all that connecting takes

std::string octal(mode_t mode)
{
    char text[8];
    snprintf(text, sizeof text, "%04o", mode & 07777U);
    return text;
}

// The library's own socket routines let everybody connect; how the other daemons go about it is their own business.
bool is_made_by_library(const operations::daemon_row& daemon)
{
    return daemon.path == std::string(UTM_IPS_SOCKET) || daemon.path == std::string(UTM_DEVID_SOCKET) ||
           daemon.path == std::string(UTM_AV_SOCKET);
}

std::optional<finding> wrong_kind(const service& who, const struct stat& file)
{
    if (S_ISSOCK(file.st_mode))
        return {};
    return finding{severity::error, std::string(who.socket) + " is not a socket, so nobody reaches " + name_of(who),
                   remedy_of_user(file.st_uid, "remove it and start " + name_of(who) + " again")};
}

std::optional<finding> wrong_answer(const service& who, const probe& seen)
{
    if (seen.works())
        return {};
    const std::string at = " (" + std::string(who.socket) + ")";
    if (seen.error == ECONNREFUSED)
        return finding{severity::error,
                       "nobody listens at " + std::string(who.socket) + ": " + name_of(who) +
                           " has ended and left its socket behind",
                       remedy_for(who, seen)};
    return finding{severity::error, name_of(who) + at + " " + seen.failed.cause, remedy_for(who, seen)};
}

std::optional<finding> wrong_mode(const watched_daemon& daemon, const struct stat& file)
{
    const mode_t mode = file.st_mode & 0777U;
    const mode_t needed = is_made_by_library(daemon.row) ? all_may_write : S_IWUSR;
    if ((mode & needed) == needed)
        return {};
    return finding{
        severity::warning,
        std::string(daemon.who.socket) + " has mode " + octal(mode) + ", so programs of other users cannot connect",
        remedy_of_user(file.st_uid, "'chmod " + octal(mode | needed) + " " + daemon.who.socket + "' lets them")};
}

// In a folder where everybody may write, anybody can pretend to be a daemon.
std::optional<finding> wrong_owner(const service& who, const struct stat& file)
{
    if (file.st_uid == 0 || file.st_uid == geteuid())
        return {};
    return finding{severity::warning,
                   std::string(who.socket) + " belongs to user " + std::to_string(file.st_uid) +
                       ", who may have put something else in the place of " + name_of(who),
                   remedy_of_user(0, "see that " + name_of(who) +
                                         " runs as that user, or remove the socket and start the daemon again")};
}

// The first thing that is wrong: the others would follow from it.
std::optional<finding> check_socket(const watched_answer& one)
{
    const service& who = one.daemon.who;
    struct stat file;
    if (lstat(who.socket, &file) != 0)
        return finding{severity::error,
                       "the socket " + std::string(who.socket) + " of " + name_of(who) +
                           " cannot be found: " + strerror(errno),
                       remedy_for(who, one.seen)};
    for (const auto& wrong :
         {wrong_kind(who, file), wrong_answer(who, one.seen), wrong_mode(one.daemon, file), wrong_owner(who, file)}) {
        if (wrong)
            return wrong;
    }
    return {};
}

} // namespace

findings check_sockets(const examination& box)
{
    findings found;
    for (const watched_answer& one : box.answers) {
        if (const auto wrong = check_socket(one))
            found.push_back(*wrong);
    }
    return found;
}

} // namespace doctor
