#pragma once

#include "tools/utmctl/engine_deed.h"

// The status of an engine: a block whose meaning the daemon defines, shown as words of 32 bits, or as bytes. It is
// shown whatever number the daemon answers with it, so that it is read from the records of the C interface.

struct status_reading {
    int32_t returned;
    std::vector<uint8_t> block = {}; // empty when the daemon gave none
};

bool is_not_zero(int32_t returned);
bool is_minus_one(int32_t returned);

struct status_row {
    const service& daemon;
    const char* subject; // "the status of the IPS engine"
    size_t first_word;   // the number of the first word of the block
    status_reading (*read)();
    bool (*refuses)(int32_t returned);
};

// Reads the words of a status record, which stays as it was when the answer is -1.
template <class Status, auto read> status_reading read_words()
{
    Status status = {};
    status_reading reading = {.returned = read(&status)};
    const auto* words = reinterpret_cast<const uint8_t*>(status.words);
    if (reading.returned != -1)
        reading.block.assign(words, words + sizeof status.words);
    return reading;
}

inline constexpr argument raw_block[] = {
    {"--raw", occurs::flag, nullptr, "show the bytes, as pairs of hexadecimal digits"},
};

outcome show_status(const status_row& row, const request& asked);

// The row as the run function of a command.
template <const status_row& row> outcome show_status(const request& asked)
{
    return show_status(row, asked);
}
