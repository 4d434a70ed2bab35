#pragma once

#include "sim/json_form.h"

#include <algorithm>
#include <compare>
#include <string>

namespace sim {

// A text of a field of so many bytes; one that fills it has no terminator there.
template <size_t width> class wire_text {
public:
    wire_text() = default;
    explicit wire_text(const char (&field)[width]) : text_(operations::text_of(field, width)) {}

    void put_into(char (&field)[width]) const { text_.copy(field, width); }

    const std::string& text() const { return text_; }
    bool empty() const { return text_.empty(); }
    auto operator<=>(const wire_text&) const = default;

private:
    friend struct json_form<wire_text>;

    std::string text_;
};

template <size_t width> struct json_form<wire_text<width>> {
    static json write(const wire_text<width>& value) { return value.text_; }

    static void read(wire_text<width>& value, const json& form, const std::string& where)
    {
        value.text_ = text_at(form, where);
        if (value.text_.size() > width)
            throw input_error(where + ": a text of up to " + std::to_string(width) + " bytes is expected");
    }
};

} // namespace sim
