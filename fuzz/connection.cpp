#include "fuzz/connection.h"

#include "fuzz/machine.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <sys/socket.h>

namespace fuzz {

namespace {

constexpr int numbers[] = {1000, 0, 1, 1023, 1024, 70000}; // an fd_set ends at 1023
constexpr int errors[] = {EAGAIN, EPIPE, EINTR, ECONNRESET, ECONNREFUSED, EIO};
constexpr uint8_t steps = 16; // of which most go well

// How a receive ends: most bytes stand for a whole record, so that lists grow long.
enum ending : uint8_t {
    part = 5,
    failure = 6,
    end = 7
};
constexpr uint8_t endings = 8;

template <size_t Count> int one_of(const int (&values)[Count], uint8_t chosen)
{
    return values[chosen % Count];
}

// As the kernel does for a peer that has closed.
void raise_sigpipe()
{
    signal(SIGPIPE, [](int) { require(false, "no SIGPIPE reaches the program"); });
    raise(SIGPIPE);
}

bool holds_alone(const fd_set* descriptors, int fd)
{
    constexpr int bits = sizeof(unsigned long) * CHAR_BIT;
    const auto* const words = reinterpret_cast<const unsigned long*>(descriptors);
    return std::all_of(words, words + fd / bits, [](unsigned long word) { return word == 0; }) &&
           words[fd / bits] == 1UL << (fd % bits);
}

} // namespace

connection::connection(input daemon)
    : daemon_(daemon), descriptor_(one_of(numbers, daemon_.byte())), wrong_(step(daemon_.byte() % steps)),
      wrong_calls_(daemon_.byte()), by_half_(daemon_.byte() % 2 != 0), error_(one_of(errors, daemon_.byte()))
{
}

const bytes* connection::first_whole() const
{
    return sent_.empty() || !sent_.front().whole ? nullptr : &sent_.front().data;
}

bool connection::goes_wrong(step which)
{
    return which == wrong_ && (wrong_calls_ >> calls_++ % CHAR_BIT & 1) != 0;
}

int connection::fail() const
{
    errno = error_;
    return -1;
}

int connection::give_up()
{
    over_ = true;
    return fail();
}

void connection::require_use(int fd, stage earliest) const
{
    require(fd == descriptor_ && open_ != 0, "a call is for the open connection");
    require(reached_ >= earliest && !over_, "a call follows one that went well");
}

int connection::open()
{
    over_ = false;
    reached_ = stage::none;
    if (goes_wrong(step::open))
        return fail();
    reached_ = stage::opened;
    open_++;
    return descriptor_;
}

int connection::set_option(int fd)
{
    require_use(fd, stage::opened);
    return goes_wrong(step::option) ? give_up() : 0;
}

// The daemon may come up between two attempts.
int connection::connect(int fd)
{
    require_use(fd, stage::opened);
    if (goes_wrong(step::connect))
        return fail();
    reached_ = stage::connected;
    return 0;
}

int connection::wait(int count, const fd_set* descriptors)
{
    require_use(count - 1, stage::asked);
    require(holds_alone(descriptors, descriptor_), "the connection alone is waited for");
    if (!goes_wrong(step::wait))
        return 1;
    over_ = true;
    return by_half_ ? 0 : fail();
}

long connection::send(int fd, const void* data, size_t size, int flags)
{
    require_use(fd, stage::connected);
    const bool wrong = goes_wrong(step::send);
    if (wrong && !by_half_) {
        if (error_ == EPIPE && (flags & MSG_NOSIGNAL) == 0)
            raise_sigpipe();
        return give_up();
    }
    reached_ = stage::asked;
    const auto* first = static_cast<const uint8_t*>(data);
    requests_.emplace_back(first, first + size);
    return static_cast<long>(wrong ? size / 2 : size);
}

// Where a request is written, one that is taken by half is none.
long connection::write(int fd, const void* data, size_t size)
{
    const long written = send(fd, data, size, 0);
    if (written < static_cast<long>(size)) {
        over_ = true;
        reached_ = stage::connected;
    }
    return written;
}

long connection::receive(int fd, void* data, size_t size)
{
    require_use(fd, stage::asked);
    over_ = true;
    const uint8_t how = daemon_.empty() ? end : daemon_.byte() % endings;
    if (how == end)
        return 0;
    if (how == failure) {
        errno = one_of(errors, daemon_.byte());
        return -1;
    }
    const bytes brought = daemon_.take(how == part ? daemon_.byte() * size / UINT8_MAX : size);
    std::copy(brought.begin(), brought.end(), static_cast<uint8_t*>(data));
    sent_.push_back({brought, brought.size() == size});
    over_ = brought.size() < size;
    return static_cast<long>(brought.size());
}

void connection::close(int fd)
{
    require(fd == descriptor_ && open_ > 0, "what is closed was open");
    open_--;
}

} // namespace fuzz
