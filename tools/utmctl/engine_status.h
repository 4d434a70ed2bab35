#pragma once

#include "tools/utmctl/deed.h"

// The status of an engine: a block whose meaning the daemon defines, shown as words of 32 bits, or as bytes.

struct status_reading {
    int32_t returned;
    std::vector<uint8_t> block = {}; // empty when the daemon gave none
};

struct status_row {
    const service& daemon;
    const char* subject; // "the status of the IPS engine"
    size_t first_word;   // the number of the first word of the block
    status_reading (*read)();
    bool (*refuses)(int32_t returned);
};

inline constexpr argument raw_block[] = {
    {"--raw", occurs::flag, nullptr, "show the bytes, as pairs of hexadecimal digits"},
};

outcome show_status(const status_row& row, const request& asked);

// The row as the run function of a command.
template <const status_row& row> outcome show_status(const request& asked)
{
    return show_status(row, asked);
}
