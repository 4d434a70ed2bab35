#include "fuzz/machine.h"

#include "fuzz/current.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
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

namespace {

bool is_blocked(int signal)
{
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    return sigismember(&mask, signal) != 0;
}

template <class Holds> std::vector<bytes> leading(const std::vector<piece>& pieces, Holds holds)
{
    std::vector<bytes> records;
    for (const piece& piece : pieces) {
        if (!piece.whole || !holds(piece.data))
            break;
        records.push_back(piece.data);
    }
    return records;
}

} // namespace

machine::machine(input daemon) : daemon_(daemon)
{
    current = this;
}

machine::~machine()
{
    require(blocks_.empty(), "every block is released");
    require(opened_ == 0, "what is opened is closed, once");
    require(daemon_.left_open() == expected_connections_, "a connection is closed, once");
    require(attached_ == expected_attachments_, "what is attached is detached, once");
    require(lock_ == 1, "what is locked is unlocked");
    require(!is_blocked(SIGPIPE), "no signal stays blocked");
    current = nullptr;
}

const bytes* machine::find_file(const std::string& path) const
{
    const auto found =
        std::find_if(files_.begin(), files_.end(), [&](const file& candidate) { return candidate.path == path; });
    return found == files_.end() ? nullptr : &found->content;
}

void machine::open_file(const char* path, bool create)
{
    note_opened();
    open_path_ = path;
    if (create && find_file(path) == nullptr)
        put_file(path, {});
}

void machine::remove_file(const std::string& path)
{
    files_.erase(
        std::remove_if(files_.begin(), files_.end(), [&](const file& candidate) { return candidate.path == path; }),
        files_.end());
}

void machine::write_file(const void* data, size_t size)
{
    writes_.push_back({open_path_, std::string(static_cast<const char*>(data), size)});
}

std::vector<std::string> machine::written(const std::string& path) const
{
    std::vector<std::string> texts;
    for (const write& write : writes_) {
        if (write.path == path)
            texts.push_back(write.text);
    }
    return texts;
}

void machine::put_addresses(std::vector<bytes> addresses)
{
    addresses_ = std::move(addresses);
    interfaces_.assign(addresses_.size(), {});
    for (size_t i = 0; i < addresses_.size(); i++) {
        if (!addresses_[i].empty())
            interfaces_[i].ifa_addr = reinterpret_cast<sockaddr*>(addresses_[i].data());
        if (i > 0)
            interfaces_[i - 1].ifa_next = &interfaces_[i];
    }
}

void* machine::attach()
{
    attached_++;
    return segment_;
}

void machine::detach(const void* address)
{
    require(address == segment_ && attached_ > 0, "what is detached was attached");
    attached_--;
}

// Whoever takes it twice would wait for ever.
int machine::change_lock(int change)
{
    if (change < 0 && interruptions_ > 0) {
        interruptions_--;
        errno = EINTR;
        return -1;
    }
    lock_ += change;
    require(lock_ == 0 || lock_ == 1, "the lock is taken by one, and given back by the same");
    return 0;
}

void machine::forget_block(void* block)
{
    const auto found = std::find(blocks_.begin(), blocks_.end(), block);
    require(found != blocks_.end(), "what is released was taken");
    blocks_.erase(found);
}

void machine::expect_blocks(size_t count)
{
    require(blocks_.size() == count, "no more is abandoned than is told");
    const outside own;
    std::for_each(blocks_.begin(), blocks_.end(), free);
    blocks_.clear();
}

void require(bool holds, const char* what)
{
    if (holds)
        return;
    current = nullptr; // what reports it opens and writes files itself
    fprintf(stderr, "broken: %s\n", what);
    abort();
}

int32_t value_at(const bytes& record, size_t offset)
{
    int32_t value;
    memcpy(&value, record.data() + offset, sizeof value);
    return value;
}

std::vector<bytes> records_with(const std::vector<piece>& pieces, size_t offset, int32_t value)
{
    return leading(pieces, [=](const bytes& record) { return value_at(record, offset) == value; });
}

std::vector<bytes> records_before(const std::vector<piece>& pieces, size_t offset, int32_t value)
{
    return leading(pieces, [=](const bytes& record) { return value_at(record, offset) != value; });
}

} // namespace fuzz
