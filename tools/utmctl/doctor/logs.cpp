#include "tools/utmctl/doctor/checks.h"

#include "tools/utmctl/remedy.h"

#include "kqutm/common.h"

#include <cstdio>
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

// A superuser is not stopped by a mode without any write permission, but other programs are.
bool is_writable(const char* path, const struct stat& file)
{
    return access(path, W_OK) == 0 && (file.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0;
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
    if (!is_writable(path.c_str(), file))
        return finding{severity::warning, path + " cannot be written, so failures of its family are not logged",
                       remedy_of_user(file.st_uid, "'chmod u+w " + path + "' makes it writable")};
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
    if (!is_writable(log_folder, folder))
        return {{severity::warning,
                 std::string("the log folder ") + log_folder + " is not writable, so new logs cannot be made",
                 remedy_of_user(folder.st_uid, std::string("'chmod 755 ") + log_folder + "' makes it writable")}};
    if (is_foreign(folder))
        return {{severity::warning,
                 std::string("the log folder ") + log_folder + " belongs to user " + std::to_string(folder.st_uid) +
                     ", who may change what the logs tell",
                 remedy_of_user(0, std::string("'chown root ") + log_folder + "' takes it over")}};
    return {};
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
