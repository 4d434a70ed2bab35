#include "common/local_socket.h"

#include "common/sigpipe_guard.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sys/select.h>
#include <unistd.h>

namespace {

constexpr int bits_per_word = sizeof(unsigned long) * CHAR_BIT;

// A bitmap with the bit of fd set, as the kernel reads it. FD_SET would write past an fd_set from FD_SETSIZE on.
void mark(unsigned long* words, int fd)
{
    words[fd / bits_per_word] |= 1UL << (fd % bits_per_word);
}

int select_readable(unsigned long* words, int fd, int seconds)
{
    mark(words, fd);
    timeval limit = {.tv_sec = seconds, .tv_usec = 0};
    return select(fd + 1, reinterpret_cast<fd_set*>(words), nullptr, nullptr, &limit);
}

ssize_t consume_sigpipe(sigpipe_guard& guard, ssize_t written)
{
    if (written < 0 && errno == EPIPE)
        guard.consume();
    return written;
}

struct free_words {
    void operator()(unsigned long* words) const { free(words); }
};

} // namespace

ssize_t write_without_sigpipe(int fd, const void* data, size_t size)
{
    sigpipe_guard guard;
    return consume_sigpipe(guard, write(fd, data, size));
}

ssize_t send_without_sigpipe(int fd, const void* data, size_t size)
{
    sigpipe_guard guard;
    return consume_sigpipe(guard, send(fd, data, size, 0));
}

int wait_readable(int fd, int seconds)
{
    if (fd < FD_SETSIZE) {
        unsigned long words[FD_SETSIZE / bits_per_word];
        words[0] = 0; // the kernel reads no more words than fd needs
        if (fd >= bits_per_word)
            memset(words, 0, sizeof words);
        return select_readable(words, fd, seconds);
    }
    size_t count = static_cast<size_t>(fd / bits_per_word) + 1;
    std::unique_ptr<unsigned long, free_words> words(static_cast<unsigned long*>(calloc(count, sizeof(unsigned long))));
    if (words == nullptr)
        return -1;
    return select_readable(words.get(), fd, seconds);
}
