#include "tools/utmctl/log_watch.h"

#include <fstream>
#include <iterator>
#include <sstream>
#include <sys/stat.h>
#include <utility>

namespace {

ino_t inode_of(const std::string& path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

std::string tail_of(const std::string& path, off_t from)
{
    std::ifstream file(path, std::ios::binary);
    file.seekg(from);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace

log_watch::log_watch(std::string path) : path_(std::move(path))
{
    struct stat status;
    if (stat(path_.c_str(), &status) != 0)
        return;
    inode_ = status.st_ino;
    size_ = status.st_size;
}

// A rotated log goes on under its second name, and starts again under its first.
std::vector<std::string> log_watch::lines() const
{
    std::string text;
    if (inode_of(path_) == inode_)
        text = tail_of(path_, size_);
    else
        text = (inode_ == inode_of(path_ + "2") && inode_ != 0 ? tail_of(path_ + "2", size_) : "") + tail_of(path_, 0);
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}
