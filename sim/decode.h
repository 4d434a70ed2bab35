#pragma once

#include "sim/record.h"
#include "sim/strict_json.h"

#include <span>
#include <string>

namespace sim {

enum class field_type {
    signed_number,
    number,
    mac,
    text, // as far as its terminator or its field reaches
    hex
};

// A value at its place in a request.
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

// What a daemon's table says of a code. The rows of a service may say more.
struct code_row {
    uint32_t code;
    const char* name;
    std::span<const field> fields;
    std::span<const field> reply = {}; // beside its result
    reply_form form = reply_form::single;
};

// The row of a code, null where there is none.
template <class Row, size_t count> const Row* find_row(const Row (&rows)[count], uint32_t code)
{
    for (const Row& row : rows) {
        if (row.code == code)
            return &row;
    }
    return nullptr;
}

std::string text_of(const char* first, size_t width);
template <size_t width> std::string text_of(const char (&text)[width])
{
    return text_of(text, width);
}

std::string hex_of(std::span<const uint8_t> bytes);

// The bytes of a text of two digits each; fails, with the place, where it is none of that length.
void bytes_from_hex(std::span<uint8_t> bytes, const std::string& text, const std::string& where);

// The name of a code; "code N" for one without a row.
std::string code_name(const code_row* row, uint32_t code);

// The named fields of a request that has come that far; none without a row.
json decode_fields(const code_row* row, const record& request);
json decode_fields(std::span<const field> fields, const record& bytes);

} // namespace sim
