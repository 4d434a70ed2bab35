#include "tools/utmctl/engine_status.h"

#include "tools/utmctl/hex.h"
#include "tools/utmctl/worker.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

constexpr size_t bytes_in_a_line = 16;

std::vector<uint32_t> words_of(const std::vector<uint8_t>& block)
{
    std::vector<uint32_t> words(block.size() / sizeof(uint32_t));
    if (!words.empty())
        memcpy(words.data(), block.data(), words.size() * sizeof(uint32_t));
    return words;
}

table table_of(const std::vector<uint32_t>& words, size_t first)
{
    table shown = {.columns = {{"WORD"}, {"VALUE"}}, .rows = {}};
    for (const uint32_t word : words)
        shown.rows.push_back({std::to_string(first++), std::to_string(word)});
    return shown;
}

// Lines such as "0010  00112233445566778899aabbccddeeff": the offset, then the bytes there.
std::vector<std::string> lines_of(std::span<const uint8_t> block)
{
    std::vector<std::string> lines;
    for (size_t at = 0; at < block.size(); at += bytes_in_a_line) {
        char offset[24];
        snprintf(offset, sizeof offset, "%04zx  ", at);
        lines.push_back(offset + hex_of(block.subspan(at, std::min(bytes_in_a_line, block.size() - at))));
    }
    return lines;
}

void tell_block(outcome& told, const status_row& row, const std::vector<uint8_t>& block, bool raw)
{
    const std::vector<uint32_t> words = words_of(block);
    told.result["words"] = words;
    if (raw) {
        told.result["raw"] = hex_of(block);
        told.lines = lines_of(block);
    } else {
        told.rows = table_of(words, row.first_word);
    }
}

json read_in_worker(const status_row& row)
{
    status_reading reading = row.read();
    return {{"error", errno}, {"returned", reading.returned}, {"block", json::binary(std::move(reading.block))}};
}

} // namespace

bool is_not_zero(int32_t returned)
{
    return returned != 0;
}

bool is_minus_one(int32_t returned)
{
    return returned == -1;
}

outcome show_status(const status_row& row, const request& asked)
{
    const std::string what = std::string(row.subject) + " was not read";
    const json reading = *call_in_worker(what, asked.timeout, [&] { return read_in_worker(row); },
                                         {.daemons = {row.daemon}, .registry_lock = false})
                              .result;
    const kqutm::cause cause = {.returned = reading["returned"], .error = reading["error"]};
    const std::optional<int32_t> answer = answer_in(cause);
    outcome told = {.result = {{"answer", answer ? json(*answer) : json()}}};
    const json::binary_t& block = reading["block"].get_binary();
    if (answer && !block.empty())
        tell_block(told, row, block, asked.has("--raw"));
    if (!row.refuses(cause.returned))
        return told;
    told.problems = {exchange_problem(what, row.daemon, failed_exchange_with(row.daemon, cause.error, answer))};
    told.status = told.problems.front().status;
    return told;
}
