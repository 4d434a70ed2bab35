#include "tools/utmctl/doctor/checks.h"

#include "tools/utmctl/remedy.h"

#include "kqutm/common.h"

#include <cerrno>
#include <cstring>
#include <optional>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

// The folders and files in which the library leaves its traces.
namespace doctor {

namespace {

constexpr char temporary_folder[] = "/tmp";
constexpr char log_folder[] = "/tmp/utm_log";
constexpr off_t rotated_above = 5242880;
constexpr off_t longest_message = 65536; // which may come on top

constexpr const char* logs[] = {UTM_IPS_LOG, UTM_DEVID_LOG, UTM_APPCF_LOG, UTM_COMMON_LOG};

struct written {
    std::string subject;
    const char* path;
    const char* effect; // of what cannot be written
    std::string mode_remedy;
};

// A superuser is not stopped by a mode without the owner's permission, but other programs are.
std::optional<finding> check_writable(const written& one, const struct stat& file)
{
    const int error = access(one.path, W_OK) == 0 ? 0 : errno;
    if (error == EROFS)
        return finding{severity::warning,
                       one.subject + " lies on a file system that is mounted read-only, so " + one.effect,
                       remedy_of_user(0, "mount it writable")};
    if ((file.st_mode & S_IWUSR) == 0)
        return finding{severity::warning, one.subject + " is not writable, so " + one.effect,
                       remedy_of_user(file.st_uid, one.mode_remedy)};
    if (error != 0)
        return finding{severity::note,
                       one.subject + " cannot be written by this user (" + strerror(error) + "), for whom " +
                           one.effect,
                       "run the command as root, or let the administrator give it another owner or mode"};
    return {};
}

bool is_foreign(const struct stat& file)
{
    return file.st_uid != 0 && file.st_uid != geteuid();
}

std::optional<finding> check_log(const std::string& path)
{
    struct stat file;
    if (lstat(path.c_str(), &file) != 0)
        return {};
    if (!S_ISREG(file.st_mode))
        return finding{severity::warning, path + " is not a file, so no failure of its family is logged",
                       remedy_of_user(file.st_uid, "remove it")};
    if (const auto shut = check_writable(
            {path, path.c_str(), "failures of its family are not logged", "'chmod u+w " + path + "' makes it writable"},
            file))
        return shut;
    if (file.st_size > rotated_above + longest_message)
        return finding{severity::warning,
                       path + " has " + std::to_string(file.st_size) + " bytes, though it should be moved to " + path +
                           "2 above 5242880",
                       remedy_of_user(file.st_uid, "remove " + path + "2 if it cannot be replaced, or this log")};
    return {};
}

bool is_full(const char* path)
{
    struct statvfs space;
    return statvfs(path, &space) == 0 && space.f_blocks > 0 && space.f_bavail == 0;
}

} // namespace

findings check_temporary_folder(const examination&)
{
    struct stat folder;
    if (stat(temporary_folder, &folder) != 0 || !S_ISDIR(folder.st_mode))
        return {{severity::error, "/tmp is no folder, so there is no place for sockets, switches and logs",
                 remedy_of_user(0, "make it one with mode 1777")}};
    if ((folder.st_mode & S_IWOTH) == 0)
        return {{severity::warning, "/tmp is closed to other users, whose programs cannot create switches and logs",
                 remedy_of_user(folder.st_uid, "'chmod 1777 /tmp' opens it")}};
    if ((folder.st_mode & S_ISVTX) == 0)
        return {{severity::warning,
                 "/tmp is not sticky, so any user may remove the daemons' sockets and the registry's marker",
                 remedy_of_user(folder.st_uid, "'chmod 1777 /tmp' makes it so")}};
    if (is_full(temporary_folder))
        return {
            {severity::error, "/tmp is full, so switches, markers and logs cannot be written", "remove what fills it"}};
    return {};
}

findings check_log_folder(const examination&)
{
    struct stat folder;
    if (lstat(log_folder, &folder) != 0)
        return {};
    if (!S_ISDIR(folder.st_mode))
        return {{severity::warning, std::string(log_folder) + " is not a folder, so no failure is logged",
                 remedy_of_user(folder.st_uid, "remove it; the library makes the folder when it logs")}};
    const std::string subject = std::string("the log folder ") + log_folder;
    findings found;
    if (is_foreign(folder))
        found.push_back(
            {severity::warning,
             subject + " belongs to user " + std::to_string(folder.st_uid) + ", who may change what the logs tell",
             remedy_of_user(0, std::string("'chown root ") + log_folder + "' takes it over")});
    if (const auto shut = check_writable({subject, log_folder, "new logs cannot be made",
                                          std::string("'chmod 755 ") + log_folder + "' makes it writable"},
                                         folder))
        found.push_back(*shut);
    return found;
}

findings check_logs(const examination&)
{
    findings found;
    for (const char* path : logs) {
        if (const auto wrong = check_log(path))
            found.push_back(*wrong);
    }
    return found;
}

} // namespace doctor
