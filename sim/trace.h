#pragma once

#include "sim/operations.h"

#include <atomic>
#include <string>
#include <vector>

namespace sim {

// What becomes of one request.
struct trace_entry {
    std::string daemon;
    uint32_t code;
    const code_row* row; // of the code; null where the daemon has none
    const record& request;
    json answer;
};

// The file of the daemons' trace: a JSON line for each request, in one append. Made before the daemons are forked; they
// count together.
class trace_file {
public:
    // fd is open for appending and stays the caller's.
    trace_file(int fd, bool with_bytes);

    int fd() const { return fd_; }
    void write(const trace_entry& entry) const;

private:
    int fd_;
    bool with_bytes_;
    std::atomic<uint64_t>* sequence_; // in memory that the processes share; lives as long as they
};

// The lines of a trace, whole ones alone, in the order of their sequence.
std::vector<json> read_trace(int fd);

// Prints a trace as a table for people.
void print_trace(const std::vector<json>& lines);

} // namespace sim
