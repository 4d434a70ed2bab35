#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ifaddrs.h>
#include <string>
#include <vector>

// The machine under the library while it is fuzzed: a daemon, files, commands and shared memory that are made of the
// fuzzer's bytes. The linker sends the library's calls of libc here.
namespace fuzz {

using bytes = std::vector<uint8_t>;

// What one receive of the library got.
struct piece {
    bytes data;
    bool whole; // as much as was asked for
};

// The fuzzer's bytes, taken from the front.
class input {
public:
    input(const uint8_t* data, size_t size) : at_(data), left_(size) {}

    uint8_t byte() { return left_ == 0 ? 0 : (left_--, *at_++); }
    bytes take(size_t size);
    bytes rest() { return take(left_); }
    bool empty() const { return left_ == 0; }

private:
    const uint8_t* at_;
    size_t left_;
};

// While it lives, the library is on this machine. The daemon reads its pieces from the input: a byte that tells how the
// next receive ends, and what it brings.
class machine {
public:
    explicit machine(input daemon);
    machine(const machine&) = delete;
    machine& operator=(const machine&) = delete;
    ~machine();

    // What the daemon sent, piece by piece, and what it was sent.
    const std::vector<piece>& sent() const { return sent_; }
    const bytes* first_whole() const; // the first piece, where it is a whole record
    const std::vector<bytes>& requests() const { return requests_; }

    void put_file(const std::string& path, const bytes& content) { files_.push_back({path, content}); }
    void put_output(const bytes& output) { output_ = output; }
    void put_segment(void* segment) { segment_ = segment; }
    void put_log_size(long size) { log_size_ = size; }

    // The addresses of the interfaces, as sockaddr; an empty one is an interface without. Else they cannot be told.
    void put_addresses(std::vector<bytes> addresses);

    // The processes that got a signal, and the last command for the shell.
    const std::vector<int>& told() const { return told_; }
    const std::string& command() const { return command_; }

    // Blocks that the library has taken and not given back.
    size_t blocks() const { return blocks_.size(); }
    void free_abandoned();

    // For the wrapped calls.
    long receive(void* data, size_t size);
    long take_request(const void* data, size_t size);
    const bytes* find_file(const std::string& path) const;
    const bytes& output() const { return output_; }
    void* segment() const { return segment_; }
    long log_size() const { return log_size_; }
    std::vector<ifaddrs>& interfaces() { return interfaces_; }
    void note_signal(int process) { told_.push_back(process); }
    void note_command(const char* command);
    void note_opened() { opened_++; }
    void note_closed() { opened_--; }
    void note_block(void* block);
    void forget_block(void* block);

private:
    struct file {
        std::string path;
        bytes content;
    };

    input daemon_;
    std::vector<piece> sent_;
    std::vector<bytes> requests_;
    std::vector<file> files_;
    bytes output_;
    void* segment_ = nullptr;
    long log_size_ = 0;
    std::vector<bytes> addresses_;
    std::vector<ifaddrs> interfaces_;
    std::vector<int> told_;
    std::string command_;
    std::vector<void*> blocks_;
    int opened_ = 0; // descriptors, streams and lists of interfaces that are not closed
};

// Ends the program, for the fuzzer to report.
void require(bool holds, const char* what);

// The leading pieces that are whole records with this 32-bit value at an offset.
size_t leading_records(const std::vector<piece>& pieces, size_t offset, int32_t value);

// The leading pieces that are whole records with any other.
size_t records_before(const std::vector<piece>& pieces, size_t offset, int32_t value);

int32_t value_at(const bytes& record, size_t offset);

} // namespace fuzz
