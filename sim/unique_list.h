#pragma once

#include "sim/json_form.h"

#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace sim {

// Values in the order of their addition, each of them once.
template <class T> class unique_list {
public:
    unique_list() = default;
    explicit unique_list(std::vector<T> values) : values_(std::move(values)) {} // none of them twice

    // False where the value is there already, or is not.
    bool add(const T& value)
    {
        if (std::ranges::find(values_, value) != values_.end())
            return false;
        values_.push_back(value);
        return true;
    }
    bool remove(const T& value) { return std::erase(values_, value) == 1; }

    void clear() { values_.clear(); }
    const std::vector<T>& values() const { return values_; }

private:
    std::vector<T> values_;
};

template <class T> struct json_form<unique_list<T>> {
    static json write(const unique_list<T>& list) { return to_json(list.values()); }

    static void read(unique_list<T>& list, const json& form, const std::string& where)
    {
        std::vector<T> values;
        from_json(values, form, where);
        std::set<std::string> known;
        for (const T& value : values) {
            const json text = to_json(value);
            if (!known.insert(text.dump()).second)
                throw input_error(where + ": " + (text.is_string() ? text.get<std::string>() : text.dump()) +
                                  " is there twice");
        }
        list = unique_list(std::move(values));
    }
};

} // namespace sim
