#include "sim/trace.h"

#include "operations/time.h"
#include "sim/failure.h"

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <sys/mman.h>
#include <unistd.h>

namespace sim {

namespace {

std::string read_all(int fd)
{
    std::string text;
    char piece[65536];
    for (;;) {
        ssize_t size = pread(fd, piece, sizeof piece, static_cast<off_t>(text.size()));
        if (size < 0)
            fail("cannot read the trace");
        if (size == 0)
            return text;
        text.append(piece, static_cast<size_t>(size));
    }
}

} // namespace

trace_file::trace_file(int fd, bool with_bytes) : fd_(fd), with_bytes_(with_bytes)
{
    void* shared = mmap(nullptr, sizeof *sequence_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED)
        fail("cannot share memory");
    sequence_ = new (shared) std::atomic<uint64_t>(0);
}

void trace_file::write(const trace_entry& entry) const
{
    json line = {{"time", operations::time_now(6)},
                 {"sequence", ++*sequence_},
                 {"daemon", entry.daemon},
                 {"code", entry.code},
                 {"name", code_name(entry.row, entry.code)},
                 {"size", entry.request.size()},
                 {"fields", decode_request(entry.row, entry.request)},
                 {"answer", entry.answer}};
    if (with_bytes_)
        line["bytes"] = hex_of(entry.request);
    const std::string text = line.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
    if (::write(fd_, text.data(), text.size()) < 0)
        perror("utm-gateway: cannot write the trace");
}

std::vector<json> read_trace(int fd)
{
    std::istringstream text(read_all(fd));
    std::vector<json> lines;
    for (std::string line; std::getline(text, line) && !text.eof();)
        lines.push_back(json::parse(line));
    std::ranges::stable_sort(lines, {}, [](const json& line) { return line.at("sequence").get<uint64_t>(); });
    return lines;
}

} // namespace sim
