#pragma once

#include "fuzz/input.h"

#include <sys/select.h>

namespace fuzz {

// What one receive of the library got.
struct piece {
    bytes data;
    bool whole; // as much as was asked for
};

// The library's connection to a daemon, as the fuzzer's bytes have it. They tell the number of the descriptor; a step
// that goes wrong; which of its calls do, a bit for each of eight, and of the next eight; and how. Then come the
// receives: for each a byte that tells how it ends, and what it brings. Without bytes all goes well, and the daemon
// closes at once.
//
// The library has to use the descriptor that it got, and may not go on where a step went wrong.
class connection {
public:
    explicit connection(input daemon);

    // How far the last one came.
    bool was_opened() const { return reached_ >= stage::opened; }
    bool was_connected() const { return reached_ >= stage::connected; }
    bool was_asked() const { return reached_ >= stage::asked; }

    // What the daemon sent, piece by piece, and what it was sent.
    const std::vector<piece>& sent() const { return sent_; }
    const std::vector<bytes>& requests() const { return requests_; }
    const bytes* first_whole() const; // of the pieces, if it is a whole record; else null

    int descriptor() const { return descriptor_; }
    int left_open() const { return open_; }

    // For the wrapped calls.
    int open();
    int set_option(int fd);
    int connect(int fd);
    int wait(int count, const fd_set* descriptors);
    long send(int fd, const void* data, size_t size, int flags);
    long write(int fd, const void* data, size_t size);
    long receive(int fd, void* data, size_t size);
    void close(int fd);

private:
    enum class stage {
        none,
        opened,
        connected,
        asked
    };
    enum class step : uint8_t {
        none,
        open,
        option,
        connect,
        send,
        wait
    };

    bool goes_wrong(step which);
    int fail() const;
    int give_up();
    void require_use(int fd, stage earliest) const;

    input daemon_;
    const int descriptor_;
    const step wrong_;
    const uint8_t wrong_calls_; // of that step
    const bool by_half_;        // a send takes half, a wait ends without an answer
    const int error_;
    int calls_ = 0; // of that step
    stage reached_ = stage::none;
    bool over_ = false;
    int open_ = 0;
    std::vector<piece> sent_;
    std::vector<bytes> requests_;
};

} // namespace fuzz
