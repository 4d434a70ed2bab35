#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

// What the daemons' records carry, code by code, as rows of data.
namespace operations {

enum class field_type {
    signed_number,
    number,
    mac,
    text, // as far as its terminator or its field reaches
    hex
};

// A value at its place in a record.
struct field {
    const char* name;
    field_type type;
    size_t offset;
    size_t width;
};

enum class reply_form {
    single,
    list // entries, and a last record that carries none
};

// What a daemon's table says of a code.
struct code_row {
    uint32_t code;
    const char* name;
    std::span<const field> request;
    std::span<const field> reply = {}; // beside its result
    reply_form form = reply_form::single;
};

// The row of a code, null where there is none.
template <class Rows> auto find_row(const Rows& rows, uint32_t code) -> decltype(std::data(rows))
{
    for (const auto& row : rows) {
        if (row.code == code)
            return &row;
    }
    return nullptr;
}

} // namespace operations
