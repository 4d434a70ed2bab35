#include "sim/decode.h"

#include "sim/mac.h"

#include <cstring>
#include <span>

namespace sim {

namespace {

enum class field_type {
    signed_number,
    number,
    mac,
    text
};

struct field {
    const char* name;
    field_type type;
    size_t offset;
    size_t width;
};

struct code_row {
    const char* daemon;
    uint32_t code;
    const char* name;
    std::span<const field> fields;
};

constexpr field id_at_8[] = {{"id", field_type::signed_number, 8, 4}};
constexpr field id_at_4[] = {{"id", field_type::signed_number, 4, 4}};
constexpr field device_at_8[] = {{"id", field_type::signed_number, 8, 4}, {"mac", field_type::mac, 12, 6}};
constexpr field device_at_4[] = {{"id", field_type::signed_number, 4, 4}, {"mac", field_type::mac, 8, 6}};

constexpr code_row code_rows[] = {
    {"cf", 1, "create profile", id_at_8},           {"cf", 2, "delete profile", id_at_8},
    {"cf", 3, "add device", device_at_8},           {"cf", 4, "delete device", device_at_8},
    {"app", 1, "create profile", id_at_8},          {"app", 2, "delete profile", id_at_8},
    {"app", 3, "add device", device_at_8},          {"app", 4, "delete device", device_at_8},
    {"user_profile", 1, "create profile", id_at_4}, {"user_profile", 2, "delete profile", id_at_4},
    {"user_profile", 3, "add device", device_at_4}, {"user_profile", 4, "delete device", device_at_4},
};

const code_row* find_row(const std::string& daemon, uint32_t code)
{
    for (const code_row& row : code_rows) {
        if (daemon == row.daemon && code == row.code)
            return &row;
    }
    return nullptr;
}

// As far as its terminator or its field reaches.
std::string text_of(const uint8_t* first, size_t width)
{
    const auto* text = reinterpret_cast<const char*>(first);
    return {text, strnlen(text, width)};
}

json decode(const field& field, const record& request)
{
    const uint8_t* first = request.data() + field.offset;
    switch (field.type) {
    case field_type::signed_number:
        return static_cast<int32_t>(number_at(request, field.offset, field.width));
    case field_type::number:
        return number_at(request, field.offset, field.width);
    case field_type::mac:
        return to_text(mac_address{first[0], first[1], first[2], first[3], first[4], first[5]});
    case field_type::text:
        return text_of(first, field.width);
    }
    return nullptr;
}

} // namespace

std::string code_name(const std::string& daemon, uint32_t code)
{
    const code_row* row = find_row(daemon, code);
    return row != nullptr ? row->name : "code " + std::to_string(code);
}

json decode_fields(const std::string& daemon, uint32_t code, const record& request)
{
    json fields = json::object();
    const code_row* row = find_row(daemon, code);
    if (row == nullptr)
        return fields;
    for (const field& field : row->fields) {
        if (field.offset + field.width <= request.size())
            fields[field.name] = decode(field, request);
    }
    return fields;
}

} // namespace sim
