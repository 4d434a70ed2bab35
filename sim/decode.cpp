#include "sim/decode.h"

#include "sim/mac.h"

#include <charconv>
#include <cstring>

namespace sim {

namespace {

uint64_t unsigned_value(const uint8_t* first, size_t width)
{
    uint64_t value = 0;
    memcpy(&value, first, width);
    return value;
}

json decode(const field& field, const record& request)
{
    const uint8_t* first = request.data() + field.offset;
    switch (field.type) {
    case field_type::signed_number:
        return static_cast<int32_t>(number_at(request, field.offset, field.width));
    case field_type::number:
        return unsigned_value(first, field.width);
    case field_type::mac:
        return to_text(mac_address{first[0], first[1], first[2], first[3], first[4], first[5]});
    case field_type::text:
        return text_of(reinterpret_cast<const char*>(first), field.width);
    case field_type::hex:
        return hex_of({first, field.width});
    }
    return nullptr;
}

} // namespace

std::string text_of(const char* first, size_t width)
{
    return {first, strnlen(first, width)};
}

std::string hex_of(std::span<const uint8_t> bytes)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (uint8_t byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

void bytes_from_hex(std::span<uint8_t> bytes, const std::string& text, const std::string& where)
{
    const bool is_hex = text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    if (!is_hex || text.size() != 2 * bytes.size())
        throw input_error(where + ": " + std::to_string(2 * bytes.size()) + " hexadecimal digits are expected");
    for (size_t byte = 0; byte < bytes.size(); byte++)
        std::from_chars(&text[2 * byte], &text[2 * byte] + 2, bytes[byte], 16);
}

std::string code_name(const code_row* row, uint32_t code)
{
    return row != nullptr ? row->name : "code " + std::to_string(code);
}

json decode_fields(const code_row* row, const record& request)
{
    return row != nullptr ? decode_fields(row->fields, request) : json::object();
}

json decode_fields(std::span<const field> fields, const record& bytes)
{
    json values = json::object();
    for (const field& field : fields) {
        if (field.offset + field.width <= bytes.size())
            values[field.name] = decode(field, bytes);
    }
    return values;
}

} // namespace sim
