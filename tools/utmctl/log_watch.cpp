#include "tools/utmctl/log_watch.h"

#include <cerrno>
#include <filesystem>
#include <sstream>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <utility>

namespace {

bool has_room(const std::string& path)
{
    struct statvfs space;
    return statvfs(path.c_str(), &space) == 0 && (space.f_blocks == 0 || space.f_bavail > 0);
}

bool is_missing(const std::string& path)
{
    struct stat status;
    return lstat(path.c_str(), &status) != 0 && errno == ENOENT;
}

// What is missing is created by the library, where its folder allows that.
bool can_be_written(const std::string& path)
{
    if (is_missing(path))
        return can_be_written(std::filesystem::path(path).parent_path());
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        return false;
    const int wanted = S_ISDIR(status.st_mode) ? W_OK | X_OK : R_OK | W_OK;
    return access(path.c_str(), wanted) == 0 && has_room(path);
}

// Below a file no log can be made, and nothing but a file keeps lines.
bool takes_lines_now(const std::string& path)
{
    std::error_code error;
    const bool other = std::filesystem::exists(path, error) && !std::filesystem::is_regular_file(path, error);
    return !other && can_be_written(path);
}

} // namespace

log_watch::log_watch(std::string path)
    : path_(std::move(path)), took_lines_(takes_lines_now(path_)), start_(end_of_log(path_))
{
}

std::vector<std::string> log_watch::lines() const
{
    log_place from = start_;
    std::istringstream stream(read_log(path_, from));
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

bool log_watch::takes_lines() const
{
    return took_lines_ && takes_lines_now(path_);
}
