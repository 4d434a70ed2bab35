#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <set>
#include <span>
#include <stdexcept>
#include <string>

namespace sim {

using json = nlohmann::ordered_json;

// What a user wrote is wrong; the text tells where and why.
class input_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A JSON object of which every key has to be asked for: finish() refuses the others by name.
class json_object {
public:
    // where names the object in errors, such as "home.json: daemons.cf".
    json_object(const json& value, std::string where);

    // Null where the key is missing.
    const json* find(const std::string& key);
    const json& at(const std::string& key);
    std::string where(const std::string& key) const { return where_ + "." + key; }
    void finish() const;

private:
    const json& value_;
    std::string where_;
    std::set<std::string> asked_;
};

const json& array_at(const json& value, const std::string& where);
std::string text_at(const json& value, const std::string& where);
bool truth_at(const json& value, const std::string& where);

// The bytes of a text of two hexadecimal digits each; fails where it is none of that length.
void bytes_at(const json& value, const std::string& where, std::span<uint8_t> bytes);

// Of 32 bits, or of 16 or 64 without a sign.
template <class Number> Number number_at(const json& value, const std::string& where);

} // namespace sim
