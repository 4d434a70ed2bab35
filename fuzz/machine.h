#pragma once

#include "fuzz/connection.h"
#include "fuzz/input.h"

#include <ifaddrs.h>
#include <string>
#include <vector>

// The machine under the library while it is fuzzed: a daemon, files, commands and shared memory that are made of the
// fuzzer's bytes. The linker sends the library's calls of libc here.
namespace fuzz {

// While it lives, the library is on this machine. At its end nothing that the library took may be left, but for what
// the target says.
class machine {
public:
    explicit machine(input daemon);
    machine() : machine(input(nullptr, 0)) {}
    machine(const machine&) = delete;
    machine& operator=(const machine&) = delete;
    ~machine();

    const connection& daemon() const { return daemon_; }
    connection& daemon() { return daemon_; }

    void put_file(const std::string& path, const bytes& content) { files_.push_back({path, content}); }
    void put_output(const bytes& output) { output_ = output; }
    void put_segment(void* segment) { segment_ = segment; }
    void put_log_size(long size) { log_size_ = size; }
    void put_interruptions(int count) { interruptions_ = count; } // of the next waits for the lock, by signals

    // The addresses of the interfaces, as sockaddr; an empty one is an interface without. Else they cannot be told.
    void put_addresses(std::vector<bytes> addresses);

    // The processes that got a signal, the commands for the shell, and what was written to a file, write by write.
    const std::vector<int>& told() const { return told_; }
    const std::vector<std::string>& commands() const { return commands_; }
    std::vector<std::string> written(const std::string& path) const;

    // The library has taken this much and not given it back, as it should.
    void expect_blocks(size_t count);
    void expect_connection(bool open) { expected_connections_ = open ? 1 : 0; }
    void expect_attachments(int count) { expected_attachments_ = count; }

    // For the wrapped calls.
    const bytes* find_file(const std::string& path) const;
    void open_file(const char* path, bool create);
    void remove_file(const std::string& path);
    void write_file(const void* data, size_t size);
    const bytes& output() const { return output_; }
    long log_size() const { return log_size_; }
    std::vector<ifaddrs>& interfaces() { return interfaces_; }
    void* attach();
    void detach(const void* address);
    int change_lock(int change);
    void note_signal(int process) { told_.push_back(process); }
    void note_command(const char* command) { commands_.emplace_back(command); }
    void note_opened() { opened_++; }
    void note_closed() { opened_--; }
    void note_block(void* block) { blocks_.push_back(block); }
    void forget_block(void* block);

private:
    struct file {
        std::string path;
        bytes content;
    };
    struct write {
        std::string path;
        std::string text;
    };

    connection daemon_;
    std::vector<file> files_;
    std::vector<write> writes_;
    std::string open_path_; // of the file that was opened last
    bytes output_;
    void* segment_ = nullptr;
    long log_size_ = 0;
    std::vector<bytes> addresses_;
    std::vector<ifaddrs> interfaces_;
    std::vector<int> told_;
    std::vector<std::string> commands_;
    std::vector<void*> blocks_;
    int opened_ = 0; // files, streams and lists of interfaces that are not closed
    int attached_ = 0;
    int lock_ = 1; // as a semaphore counts: 0 while it is held
    int interruptions_ = 0;
    int expected_connections_ = 0;
    int expected_attachments_ = 0;
};

// Ends the program, for the fuzzer to report.
void require(bool holds, const char* what);

// The whole records that came first: as long as they have this 32-bit value at an offset, or until one has it.
std::vector<bytes> records_with(const std::vector<piece>& pieces, size_t offset, int32_t value);
std::vector<bytes> records_before(const std::vector<piece>& pieces, size_t offset, int32_t value);

int32_t value_at(const bytes& record, size_t offset);

} // namespace fuzz
