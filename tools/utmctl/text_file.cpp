#include "tools/utmctl/text_file.h"

#include "tools/utmctl/outcome.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

[[noreturn]] void tell_unreadable(const std::string& file, const std::string& what)
{
    const std::string cause = std::string("cannot be read: ") + strerror(errno);
    throw failure({.status = exit_status::usage,
                   .what = what,
                   .culprits = {{"the file", name_of_file(file), cause}},
                   .next = "name a file that can be read, or - for standard input"});
}

// What the descriptor holds up to its end; false when it cannot be read.
bool read_all(int fd, std::string& text)
{
    char block[65536];
    for (;;) {
        const ssize_t size = read(fd, block, sizeof block);
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            return size == 0;
        text.append(block, static_cast<size_t>(size));
    }
}

} // namespace

std::string name_of_file(const std::string& file)
{
    return file == "-" ? "standard input" : file;
}

std::string content_of_file(const std::string& file, const std::string& what)
{
    const int fd = file == "-" ? STDIN_FILENO : open(file.c_str(), O_RDONLY | O_CLOEXEC);
    std::string text;
    if (fd < 0 || !read_all(fd, text))
        tell_unreadable(file, what);
    if (fd != STDIN_FILENO)
        close(fd);
    return text;
}
