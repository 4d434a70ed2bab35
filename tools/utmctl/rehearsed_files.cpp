#include "tools/utmctl/rehearsed_files.h"

#include "tools/utmctl/libc.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sstream>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

constexpr mode_t usual_mode = 0644;

int fail(int error)
{
    errno = error;
    return -1;
}

bool is_for_writing(int flags)
{
    return (flags & O_ACCMODE) != O_RDONLY;
}

int flags_of(const std::string& mode)
{
    const bool both = mode.find('+') != std::string::npos;
    switch (mode[0]) {
    case 'r':
        return both ? O_RDWR : O_RDONLY;
    case 'w':
        return (both ? O_RDWR : O_WRONLY) | O_CREAT | O_TRUNC;
    default:
        return (both ? O_RDWR : O_WRONLY) | O_CREAT | O_APPEND;
    }
}

std::string read_all(int fd)
{
    std::string text;
    char block[4096];
    for (ssize_t size; (size = pread(fd, block, sizeof block, static_cast<off_t>(text.size()))) > 0;)
        text.append(block, static_cast<size_t>(size));
    return text;
}

std::optional<std::string> read_real(const std::string& path)
{
    const int fd = libc<int>("open", path.c_str(), O_RDONLY | O_CLOEXEC, mode_t{0});
    if (fd < 0)
        return libc<int>("access", path.c_str(), F_OK) == 0 ? std::optional<std::string>("") : std::nullopt;
    std::string text = read_all(fd);
    libc<int>("close", fd);
    return text;
}

std::vector<std::string> words_of(const std::string& command)
{
    std::istringstream stream(command);
    std::vector<std::string> words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

json file_step(const std::string& path, const char* does)
{
    return {{"step", "file"}, {"path", path}, {"does", does}};
}

json written_step(const std::string& path, const std::optional<std::string>& before, const std::string& after)
{
    const bool grown = before && after.starts_with(*before);
    json step = file_step(path, !before ? "create" : grown ? "append" : "write");
    step["text"] = grown ? after.substr(before->size()) : after;
    return step;
}

} // namespace

bool rehearsed_files::exists(const std::string& path) const
{
    const auto found = changed_.find(path);
    return found != changed_.end() ? found->second.has_value() : libc<int>("access", path.c_str(), F_OK) == 0;
}

rehearsed_files::content rehearsed_files::content_of(const std::string& path) const
{
    const auto found = changed_.find(path);
    return found != changed_.end() ? found->second : read_real(path);
}

int rehearsed_files::access(const char* path, int mode) const
{
    if (!changed_.contains(path))
        return libc<int>("access", path, mode);
    return exists(path) ? 0 : fail(ENOENT);
}

int rehearsed_files::stat(const char* path, struct stat* file) const
{
    const auto found = changed_.find(path);
    if (found == changed_.end())
        return libc<int>("stat", path, file);
    if (!found->second)
        return fail(ENOENT);
    *file = {};
    file->st_mode = S_IFREG | usual_mode;
    file->st_size = static_cast<off_t>(found->second->size());
    return 0;
}

// The errno with which the machine would refuse to open a file for writing; 0: it would not.
int rehearsed_files::refusal(const std::string& path, int flags) const
{
    if (exists(path))
        return changed_.contains(path) || libc<int>("access", path.c_str(), W_OK) == 0 ? 0 : errno;
    const std::string folder = std::filesystem::path(path).parent_path();
    if ((flags & O_CREAT) == 0)
        return ENOENT;
    return libc<int>("access", folder.c_str(), W_OK | X_OK) == 0 ? 0 : errno;
}

int rehearsed_files::open_copy(const std::string& path, int flags)
{
    const content before = content_of(path);
    const std::string text = (flags & O_TRUNC) != 0 ? "" : before.value_or("");
    const int fd = memfd_create("rehearsed", MFD_CLOEXEC);
    if (fd < 0 || libc<ssize_t>("write", fd, text.data(), text.size()) < 0)
        return -1;
    if ((flags & O_APPEND) == 0)
        lseek(fd, 0, SEEK_SET);
    if (is_for_writing(flags)) {
        open_[fd] = {path, before};
        changed_.try_emplace(path, text);
    }
    return fd;
}

int rehearsed_files::open(const char* path, int flags, mode_t mode)
{
    std::error_code ignored;
    const bool device = std::filesystem::is_character_file(path, ignored);
    if (device || (!is_for_writing(flags) && !changed_.contains(path)))
        return libc<int>("open", path, flags, mode);
    if (!is_for_writing(flags) && !exists(path))
        return fail(ENOENT);
    const int error = is_for_writing(flags) ? refusal(path, flags) : 0;
    return error == 0 ? open_copy(path, flags) : fail(error);
}

FILE* rehearsed_files::fopen(const char* path, const char* mode)
{
    const int fd = open(path, flags_of(mode) | O_CLOEXEC, usual_mode);
    return fd < 0 ? nullptr : fdopen(fd, mode);
}

void rehearsed_files::settle(int fd)
{
    const auto found = open_.find(fd);
    if (found == open_.end())
        return;
    const auto [path, before] = std::exchange(found->second, {});
    open_.erase(found);
    const std::string after = read_all(fd);
    changed_[path] = after;
    if (before != after)
        add_(written_step(path, before, after));
}

int rehearsed_files::unlink(const char* path)
{
    if (!exists(path))
        return fail(ENOENT);
    changed_[path] = std::nullopt;
    add_(file_step(path, "remove"));
    return 0;
}

int rehearsed_files::change(const char* path, const char* does)
{
    add_(file_step(path, does));
    return 0;
}

// What the library's own commands leave in files that it reads again.
void rehearsed_files::follow(const std::string& command)
{
    const std::vector<std::string> words = words_of(command);
    const size_t count = words.size();
    if (count >= 3 && words[count - 2].starts_with(">")) {
        std::string text = words[0] == "cat" ? content_of(words[1]).value_or("") : "";
        for (size_t word = 1; words[0] == "echo" && word + 2 < count; ++word)
            text += (word > 1 ? " " : "") + words[word];
        const std::string before = words[count - 2] == ">>" ? content_of(words.back()).value_or("") : "";
        changed_[words.back()] = before + text + (words[0] == "echo" ? "\n" : "");
    } else if (count == 2 && words[0].ends_with("touch") && !exists(words[1])) {
        changed_[words[1]] = "";
    } else if (count == 3 && words[0].ends_with("mv")) {
        changed_[words[2]] = content_of(words[1]);
        changed_[words[1]] = std::nullopt;
    }
}

int rehearsed_files::run(const char* command)
{
    add_({{"step", "shell"}, {"command", command}});
    follow(command);
    return 0;
}

FILE* rehearsed_files::start(const char* command)
{
    add_({{"step", "shell"}, {"command", command}});
    return libc<FILE*>("fopen", "/dev/null", "re");
}
