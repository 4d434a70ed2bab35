#pragma once

#include "sim/json_form.h"

#include <algorithm>
#include <vector>

namespace sim {

// Values in the order of their addition, each of them once.
template <class T> class unique_list {
public:
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
        list.clear();
        std::vector<T> values;
        from_json(values, form, where);
        for (const T& value : values) {
            if (!list.add(value))
                throw input_error(where + ": " + to_json(value).template get<std::string>() + " is there twice");
        }
    }
};

} // namespace sim
