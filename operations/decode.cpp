#include "operations/decode.h"

#include "operations/text.h"

#include <cstring>

namespace operations {

namespace {

uint64_t unsigned_value(const uint8_t* first, size_t width)
{
    uint64_t value = 0;
    memcpy(&value, first, width);
    return value;
}

json decode(const field& field, const record& bytes)
{
    const uint8_t* first = bytes.data() + field.offset;
    switch (field.type) {
    case field_type::signed_number:
        return static_cast<int32_t>(number_at(bytes, field.offset, field.width));
    case field_type::number:
        return unsigned_value(first, field.width);
    case field_type::mac:
        return mac_text(std::span<const uint8_t, 6>(first, 6));
    case field_type::text:
        return text_of(reinterpret_cast<const char*>(first), field.width);
    case field_type::hex:
        return hex_of({first, field.width});
    }
    return nullptr;
}

} // namespace

std::string code_name(const code_row* row, uint32_t code)
{
    return row != nullptr ? row->name : "code " + std::to_string(code);
}

json decode_request(const code_row* row, const record& request)
{
    return row != nullptr ? decode_fields(row->request, request) : json::object();
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

} // namespace operations
