#pragma once

#include "operations/text.h"
#include "sim/mac.h"
#include "sim/strict_json.h"

#include <array>
#include <concepts>
#include <optional>
#include <string>
#include <vector>

// The JSON form of what a daemon holds. A struct names its members once, for writing and for reading:
//
//     static void members(auto& self, auto&& each) { each("policy", self.policy); }
//
// A member that is missing in the JSON text keeps what it holds.
namespace sim {

template <class T> struct json_form;

template <class T> json to_json(const T& value)
{
    return json_form<T>::write(value);
}

// Fails with the place and the cause.
template <class T> void from_json(T& value, const json& form, const std::string& where)
{
    json_form<T>::read(value, form, where);
}

template <class T> void write_members(json& object, const T& value)
{
    T::members(value, [&](const char* name, const auto& member) { object[name] = to_json(member); });
}

template <class T> void read_members(T& value, json_object& object)
{
    T::members(value, [&](const char* name, auto& member) {
        if (const json* form = object.find(name))
            from_json(member, *form, object.where(name));
    });
}

template <class T>
requires requires(const T& value)
{
    T::members(value, [](const char*, const auto&) {});
}
struct json_form<T> {
    static json write(const T& value)
    {
        json object = json::object();
        write_members(object, value);
        return object;
    }

    static void read(T& value, const json& form, const std::string& where)
    {
        json_object object(form, where);
        read_members(value, object);
        object.finish();
    }
};

template <std::integral T> struct json_form<T> {
    static json write(T value) { return value; }
    static void read(T& value, const json& form, const std::string& where) { value = number_at<T>(form, where); }
};

template <> struct json_form<bool> {
    static json write(bool value) { return value; }
    static void read(bool& value, const json& form, const std::string& where) { value = truth_at(form, where); }
};

template <> struct json_form<std::string> {
    static json write(const std::string& value) { return value; }
    static void read(std::string& value, const json& form, const std::string& where) { value = text_at(form, where); }
};

template <> struct json_form<mac_address> {
    static json write(const mac_address& value) { return to_text(value); }
    static void read(mac_address& value, const json& form, const std::string& where)
    {
        value = mac_from(text_at(form, where), where);
    }
};

// Bytes without a meaning of their own; in JSON a text of hexadecimal digits.
template <size_t size> struct opaque {
    std::array<uint8_t, size> bytes;
};

template <size_t size> struct json_form<opaque<size>> {
    static json write(const opaque<size>& value) { return operations::hex_of(value.bytes); }
    static void read(opaque<size>& value, const json& form, const std::string& where)
    {
        bytes_at(form, where, value.bytes);
    }
};

template <class T> struct json_form<std::optional<T>> {
    static json write(const std::optional<T>& value) { return value ? to_json(*value) : json(); }
    static void read(std::optional<T>& value, const json& form, const std::string& where)
    {
        value.reset();
        if (!form.is_null())
            from_json(value.emplace(), form, where);
    }
};

template <class T> struct json_form<std::vector<T>> {
    static json write(const std::vector<T>& values)
    {
        json list = json::array();
        for (const T& value : values)
            list.push_back(to_json(value));
        return list;
    }

    static void read(std::vector<T>& values, const json& form, const std::string& where)
    {
        values.clear();
        for (const json& entry : array_at(form, where))
            from_json(values.emplace_back(), entry, where);
    }
};

// A list of numbers of which there is a greatest count.
template <size_t limit> struct numbers {
    std::vector<uint32_t> values;
};

template <size_t limit> struct json_form<numbers<limit>> {
    static json write(const numbers<limit>& list) { return to_json(list.values); }

    static void read(numbers<limit>& list, const json& form, const std::string& where)
    {
        from_json(list.values, form, where);
        if (list.values.size() > limit)
            throw input_error(where + ": there is no room for more than " + std::to_string(limit));
    }
};

} // namespace sim
