#include "sim/strict_json.h"

#include <cstdint>
#include <limits>
#include <utility>

namespace sim {

namespace {

template <class Number> Number whole_number_at(const json& value, const std::string& where)
{
    const bool fits = value.is_number_integer() && value >= std::numeric_limits<Number>::min() &&
                      value <= std::numeric_limits<Number>::max();
    if (!fits)
        throw input_error(where + ": a whole number of 32 bits is expected");
    return value.get<Number>();
}

} // namespace

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

int32_t number_at(const json& value, const std::string& where)
{
    return whole_number_at<int32_t>(value, where);
}

uint32_t unsigned_at(const json& value, const std::string& where)
{
    return whole_number_at<uint32_t>(value, where);
}

} // namespace sim
