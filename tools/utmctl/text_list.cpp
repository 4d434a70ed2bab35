#include "tools/utmctl/text_list.h"

#include "tools/utmctl/hex.h"
#include "tools/utmctl/text_argument.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sstream>
#include <unistd.h>

namespace {

std::string name_of(const request& asked)
{
    const std::string& file = asked.one(texts_from_file.name);
    return file == "-" ? "standard input" : file;
}

[[noreturn]] void tell_unreadable(const request& asked, const std::string& what)
{
    const std::string cause = std::string("cannot be read: ") + strerror(errno);
    throw failure({.status = exit_status::usage,
                   .what = what,
                   .culprits = {{"the file", name_of(asked), cause}},
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

std::string content_of(const request& asked, const std::string& what)
{
    const std::string& file = asked.one(texts_from_file.name);
    const int fd = file == "-" ? STDIN_FILENO : open(file.c_str(), O_RDONLY | O_CLOEXEC);
    std::string text;
    if (fd < 0 || !read_all(fd, text))
        tell_unreadable(asked, what);
    if (fd != STDIN_FILENO)
        close(fd);
    return text;
}

void add_lines(std::vector<text_entry>& entries, const request& asked, const argument& texts, const std::string& what)
{
    std::istringstream stream(content_of(asked, what));
    size_t number = 0;
    for (std::string line; std::getline(stream, line);) {
        ++number;
        if (line.ends_with('\r'))
            line.pop_back();
        if (is_blank(line))
            continue;
        entries.push_back({line, number});
        const std::string wrong = texts.check(line);
        if (!wrong.empty())
            refuse_arguments(asked, "line " + std::to_string(number) + " of " + name_of(asked) + ": " + wrong);
    }
}

} // namespace

std::vector<text_entry> texts_of(const request& asked, const argument& texts, const std::string& what)
{
    std::vector<text_entry> entries;
    for (const std::string& text : asked.all(texts.name))
        entries.push_back({text});
    if (asked.has(texts_from_file.name))
        add_lines(entries, asked, texts, what);
    else if (entries.empty())
        refuse_arguments(asked, std::string(texts.name) + " or " + texts_from_file.name + " is required");
    return entries;
}

std::string place_of(const text_entry& entry, const request& asked)
{
    return entry.line == 0 ? "" : " (line " + std::to_string(entry.line) + " of " + name_of(asked) + ")";
}

std::vector<uint8_t> bytes_of(const std::vector<text_entry>& entries)
{
    std::vector<uint8_t> bytes;
    for (const text_entry& entry : entries) {
        const std::vector<uint8_t> part = parse_hex(entry.text).value();
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}
