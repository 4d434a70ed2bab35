#include "sim/fault.h"

#include "sim/names.h"
#include "sim/strict_json.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <system_error>

namespace sim {

namespace {

enum class fault_value {
    none,
    amount,
    status // may be negative
};

struct kind_row {
    const char* name;
    fault_kind kind;
    fault_value value;
    bool from_start;
};

constexpr kind_row kind_rows[] = {
    {"refuse", fault_kind::refuse, fault_value::status, false},
    {"status", fault_kind::status, fault_value::status, false},
    {"delay", fault_kind::delay, fault_value::amount, false},
    {"silence", fault_kind::silence, fault_value::none, false},
    {"close", fault_kind::close, fault_value::none, false},
    {"short", fault_kind::cut, fault_value::amount, false},
    {"split", fault_kind::split, fault_value::amount, false},
    {"garbage", fault_kind::garbage, fault_value::none, false},
    {"endless", fault_kind::endless, fault_value::none, false},
    {"crash", fault_kind::crash, fault_value::none, false},
    {"stop", fault_kind::stop, fault_value::none, false},
    {"absent", fault_kind::absent, fault_value::none, true},
    {"deaf", fault_kind::deaf, fault_value::none, true},
};

const kind_row& row_of(fault_kind kind)
{
    return *std::ranges::find(kind_rows, kind, &kind_row::kind);
}

uint32_t number_from(const std::string& text, const std::string& whole)
{
    uint32_t number = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        throw input_error("fault \"" + whole + "\": \"" + text + "\" is no number");
    return number;
}

uint32_t value_from(const std::string& text, fault_value value, const std::string& whole)
{
    if (value != fault_value::status || !text.starts_with('-'))
        return number_from(text, whole);
    const uint32_t magnitude = number_from(text.substr(1), whole);
    if (magnitude > 1U << 31)
        throw input_error("fault \"" + whole + "\": \"" + text + "\" is no status");
    return 0U - magnitude;
}

std::vector<std::string> split_at(const std::string& text, char separator)
{
    std::vector<std::string> parts(1);
    for (char letter : text) {
        if (letter == separator)
            parts.emplace_back();
        else
            parts.back() += letter;
    }
    return parts;
}

// Reads KIND[=VALUE].
fault effect_from(const std::string& text, const std::string& whole)
{
    const size_t equals = text.find('=');
    const std::string name = text.substr(0, equals);
    auto row = std::ranges::find_if(kind_rows, [&](const kind_row& known) { return name == known.name; });
    if (row == std::end(kind_rows))
        throw input_error("fault \"" + whole + "\": there is no fault \"" + name + "\" (there are " +
                          names_of(kind_rows) + ")");
    const bool has_value = equals != std::string::npos;
    if (has_value != (row->value != fault_value::none))
        throw input_error("fault \"" + whole + "\": \"" + name + "\" takes " + (has_value ? "no" : "a") + " value");
    const uint32_t value = has_value ? value_from(text.substr(equals + 1), row->value, whole) : 0;
    if (row->kind == fault_kind::split && value == 0)
        throw input_error("fault \"" + whole + "\": a reply cannot be split into 0 pieces");
    return {.code = {}, .kind = row->kind, .value = value, .count = {}};
}

} // namespace

bool holds_from_start(fault_kind kind)
{
    return row_of(kind).from_start;
}

fault fault_from(const std::string& text)
{
    const std::vector<std::string> parts = split_at(text, ':');
    fault fault = effect_from(parts[parts.size() == 1 ? 0 : 1], text);
    if (holds_from_start(fault.kind) != (parts.size() == 1) || parts.size() > 3)
        throw input_error("fault \"" + text + "\": CODE:KIND[=VALUE][:COUNT], \"absent\" or \"deaf\" is expected");
    if (parts.size() > 1 && parts[0] != "any")
        fault.code = number_from(parts[0], text);
    if (parts.size() > 2)
        fault.count = number_from(parts[2], text);
    if (fault.count == 0U)
        throw input_error("fault \"" + text + "\": a count of 0 has no effect");
    return fault;
}

std::string effect_text(const fault& fault)
{
    const kind_row& row = row_of(fault.kind);
    std::string text = row.name;
    if (row.value == fault_value::amount)
        text += '=' + std::to_string(fault.value);
    if (row.value == fault_value::status)
        text += '=' + std::to_string(static_cast<int32_t>(fault.value));
    return text;
}

std::string to_text(const fault& fault)
{
    if (holds_from_start(fault.kind))
        return effect_text(fault);
    std::string text = fault.code ? std::to_string(*fault.code) : "any";
    text += ':' + effect_text(fault);
    if (fault.count)
        text += ':' + std::to_string(*fault.count);
    return text;
}

void fault_list::add(const fault& added)
{
    std::lock_guard lock(mutex_);
    faults_.push_back(added);
}

void fault_list::clear()
{
    std::lock_guard lock(mutex_);
    faults_.clear();
}

std::vector<std::string> fault_list::texts() const
{
    std::lock_guard lock(mutex_);
    std::vector<std::string> texts;
    std::ranges::transform(faults_, std::back_inserter(texts), to_text);
    return texts;
}

bool fault_list::has(fault_kind kind) const
{
    std::lock_guard lock(mutex_);
    return std::ranges::find(faults_, kind, &fault::kind) != faults_.end();
}

std::optional<fault> fault_list::take(uint32_t code)
{
    std::lock_guard lock(mutex_);
    auto fits = [code](const fault& known) {
        return !holds_from_start(known.kind) && (!known.code || *known.code == code);
    };
    auto found = std::ranges::find_if(faults_, fits);
    if (found == faults_.end())
        return {};
    fault taken = *found;
    if (found->count && --*found->count == 0)
        faults_.erase(found);
    return taken;
}

} // namespace sim
