#include "fuzz/machine.h"

#include "fuzz/current.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace fuzz {

machine* current = nullptr;

bytes input::take(size_t size)
{
    size = std::min(size, left_);
    bytes taken(at_, at_ + size);
    at_ += size;
    left_ -= size;
    return taken;
}

machine::machine(input daemon) : daemon_(daemon)
{
    current = this;
}

machine::~machine()
{
    require(blocks_.empty(), "every block is released");
    require(opened_ == 0, "what is opened is closed, once");
    current = nullptr;
}

namespace {

// How a receive ends: most bytes stand for a whole record, so that lists grow long.
enum ending : uint8_t {
    part = 5,
    failure = 6,
    end = 7
};
constexpr uint8_t endings = 8;
constexpr int errors[] = {EAGAIN, ECONNRESET, EINTR, EIO};

// How many leading pieces are whole records of which this holds.
template <class Holds> size_t leading(const std::vector<piece>& pieces, Holds holds)
{
    const auto other = std::find_if(pieces.begin(), pieces.end(),
                                    [&](const piece& piece) { return !piece.whole || !holds(piece.data); });
    return static_cast<size_t>(other - pieces.begin());
}

} // namespace

long machine::receive(void* data, size_t size)
{
    const outside own;
    if (daemon_.empty())
        return 0;
    const uint8_t how = daemon_.byte() % endings;
    if (how == end)
        return 0;
    if (how == failure) {
        errno = errors[daemon_.byte() % std::size(errors)];
        return -1;
    }
    const bytes brought = daemon_.take(how == part ? daemon_.byte() * size / UINT8_MAX : size);
    std::copy(brought.begin(), brought.end(), static_cast<uint8_t*>(data));
    sent_.push_back({brought, brought.size() == size});
    return static_cast<long>(brought.size());
}

const bytes* machine::first_whole() const
{
    return sent_.empty() || !sent_.front().whole ? nullptr : &sent_.front().data;
}

long machine::take_request(const void* data, size_t size)
{
    const outside own;
    const auto* first = static_cast<const uint8_t*>(data);
    requests_.emplace_back(first, first + size);
    return static_cast<long>(size);
}

const bytes* machine::find_file(const std::string& path) const
{
    for (const file& file : files_) {
        if (file.path == path)
            return &file.content;
    }
    return nullptr;
}

void machine::put_addresses(std::vector<bytes> addresses)
{
    const outside own;
    addresses_ = std::move(addresses);
    interfaces_.assign(addresses_.size(), {});
    for (size_t i = 0; i < addresses_.size(); i++) {
        if (!addresses_[i].empty())
            interfaces_[i].ifa_addr = reinterpret_cast<sockaddr*>(addresses_[i].data());
        if (i > 0)
            interfaces_[i - 1].ifa_next = &interfaces_[i];
    }
}

void machine::note_command(const char* command)
{
    const outside own;
    command_ = command;
}

void machine::note_block(void* block)
{
    const outside own;
    blocks_.push_back(block);
}

void machine::forget_block(void* block)
{
    const auto found = std::find(blocks_.begin(), blocks_.end(), block);
    require(found != blocks_.end(), "what is released was taken");
    blocks_.erase(found);
}

void machine::free_abandoned()
{
    const outside own;
    for (void* block : blocks_)
        free(block);
    blocks_.clear();
}

void require(bool holds, const char* what)
{
    if (holds)
        return;
    fprintf(stderr, "broken: %s\n", what);
    abort();
}

int32_t value_at(const bytes& record, size_t offset)
{
    int32_t value;
    memcpy(&value, record.data() + offset, sizeof value);
    return value;
}

size_t leading_records(const std::vector<piece>& pieces, size_t offset, int32_t value)
{
    return leading(pieces, [=](const bytes& record) { return value_at(record, offset) == value; });
}

size_t records_before(const std::vector<piece>& pieces, size_t offset, int32_t value)
{
    return leading(pieces, [=](const bytes& record) { return value_at(record, offset) != value; });
}

} // namespace fuzz
