#include "sim/strict_json.h"

#include "operations/text.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace sim {

json_object::json_object(const json& value, std::string where) : value_(value), where_(std::move(where))
{
    if (!value.is_object())
        throw input_error(where_ + ": an object is expected");
}

const json* json_object::find(const std::string& key)
{
    asked_.insert(key);
    auto found = value_.find(key);
    return found == value_.end() ? nullptr : &*found;
}

const json& json_object::at(const std::string& key)
{
    const json* found = find(key);
    if (found == nullptr)
        throw input_error(where_ + ": \"" + key + "\" is missing");
    return *found;
}

void json_object::finish() const
{
    for (const auto& [key, value] : value_.items()) {
        if (!asked_.contains(key))
            throw input_error(where_ + ": unknown key \"" + key + "\"");
    }
}

const json& array_at(const json& value, const std::string& where)
{
    if (!value.is_array())
        throw input_error(where + ": a list is expected");
    return value;
}

std::string text_at(const json& value, const std::string& where)
{
    if (!value.is_string())
        throw input_error(where + ": a text is expected");
    return value.get<std::string>();
}

bool truth_at(const json& value, const std::string& where)
{
    if (!value.is_boolean())
        throw input_error(where + ": true or false is expected");
    return value.get<bool>();
}

void bytes_at(const json& value, const std::string& where, std::span<uint8_t> bytes)
{
    const std::optional<std::vector<uint8_t>> given = operations::parse_hex(text_at(value, where));
    if (!given || given->size() != bytes.size())
        throw input_error(where + ": " + std::to_string(2 * bytes.size()) + " hexadecimal digits are expected");
    std::ranges::copy(*given, bytes.begin());
}

template <class Number> Number number_at(const json& value, const std::string& where)
{
    const bool fits = value.is_number_unsigned()  ? std::in_range<Number>(value.get<uint64_t>())
                      : value.is_number_integer() ? std::in_range<Number>(value.get<int64_t>())
                                                  : false;
    if (!fits)
        throw input_error(where + ": a whole number of " + std::to_string(8 * sizeof(Number)) + " bits is expected");
    return value.get<Number>();
}

template int32_t number_at(const json& value, const std::string& where);
template uint16_t number_at(const json& value, const std::string& where);
template uint32_t number_at(const json& value, const std::string& where);
template uint64_t number_at(const json& value, const std::string& where);

} // namespace sim
