#include "tools/utmctl/description.h"

#include "tools/utmctl/command.h"
#include "tools/utmctl/json_table.h"

#include <algorithm>

namespace {

using operations::field;
using operations::function_row;

const char* type_of(const field& one)
{
    switch (one.type) {
    case operations::field_type::signed_number:
        return "signed number";
    case operations::field_type::number:
        return "number";
    case operations::field_type::mac:
        return "MAC address";
    case operations::field_type::text:
        return "text";
    case operations::field_type::hex:
        return "bytes";
    }
    return "";
}

json json_of(const field& one)
{
    return {{"name", one.name}, {"type", type_of(one)}, {"offset", one.offset}, {"size", one.width}};
}

json record_json(size_t size, const field& first, std::span<const field> others)
{
    std::vector<field> fields(others.begin(), others.end());
    fields.insert(fields.begin(), first);
    std::ranges::stable_sort(fields, {}, &field::offset);
    json list = json::array();
    for (const field& one : fields)
        list.push_back(json_of(one));
    return {{"size", size}, {"fields", list}};
}

json exchange_json(const operations::daemon_row& daemon, const operations::code_row& row)
{
    using operations::field_type;
    const field code = {"code", field_type::number, 0, daemon.code_width};
    const bool has_sign = daemon.result.size == sizeof(int32_t);
    const field result = {"result", has_sign ? field_type::signed_number : field_type::number, daemon.result.offset,
                          daemon.result.size};
    json reply = record_json(daemon.reply_size, result, row.reply);
    reply["list"] = row.form == operations::reply_form::list;
    return {{"daemon", daemon.name}, {"title", daemon.title},
            {"socket", daemon.path}, {"code", row.code},
            {"name", row.name},      {"request", record_json(daemon.request_size, code, row.request)},
            {"reply", reply}};
}

json json_of(const operations::step& one)
{
    if (one.daemon == nullptr)
        return {{"does", one.deed}};
    json exchange = exchange_json(*one.daemon, *row_of(*one.daemon, one.code));
    exchange["when"] = one.when != nullptr ? json(one.when) : json();
    return exchange;
}

json steps_of(const function_row& function)
{
    json steps = json::array();
    for (const operations::step& one : function.steps) {
        if (one.is_there())
            steps.push_back(json_of(one));
    }
    return steps;
}

json arguments_of(const function_row& function)
{
    const operations::signature parsed = function.parsed();
    json arguments = json::array();
    for (size_t at = 0; at < parsed.count; ++at) {
        const operations::parameter& one = parsed.parameters.at(at);
        arguments.push_back({{"name", one.name},
                             {"type", one.type},
                             {"help", function.arguments[at].text},
                             {"given_as", function.by_words.word(at)}});
    }
    return arguments;
}

json json_of(std::span<const operations::meaning> meanings)
{
    json list = json::array();
    for (const operations::meaning& one : meanings)
        list.push_back({{"value", one.value}, {"meaning", one.means}});
    return list;
}

// Nothing can be wrong with the arguments of a function that has none.
std::vector<operations::meaning> causes_of(const function_row& function)
{
    std::vector<operations::meaning> causes(function.result.causes.begin(), function.result.causes.end());
    if (function.parsed().count == 0)
        std::erase_if(causes, [](const auto& one) { return std::string_view(one.value) == "EINVAL"; });
    return causes;
}

json commands_that_use(std::string_view function)
{
    json commands = json::array();
    for (const family* group : all_families()) {
        for (const command& one : group->commands) {
            if (std::ranges::count(one.run.functions(), function) > 0)
                commands.push_back(words_of(*group, one));
        }
    }
    return commands;
}

json text_or_null(const char* text)
{
    return text != nullptr ? json(text) : json();
}

std::string text_at(const json& object, const char* name)
{
    return object[name].get<std::string>();
}

// "code 3, set whitelist: 316 bytes, answered by 316"
std::string exchange_text(const json& step)
{
    const json& reply = step["reply"];
    std::string text = "exchange with the " + text_at(step, "title") + " daemon (" + text_at(step, "socket") +
                       "): code " + step["code"].dump() + ", " + text_at(step, "name") + ": " +
                       step["request"]["size"].dump() + " bytes, answered by ";
    text += reply["list"] == true ? "a list, each record of " : "";
    text += reply["size"].dump();
    return step["when"].is_null() ? text : text + " (" + text_at(step, "when") + ")";
}

void add_arguments(const json& arguments, std::vector<std::string>& lines)
{
    if (arguments.empty())
        return;
    lines.insert(lines.end(), {"", "Arguments:"});
    for (const json& one : arguments) {
        lines.push_back("  " + text_at(one, "name") + ": " + text_at(one, "help"));
        lines.push_back("    given as " + text_at(one, "given_as"));
    }
}

void add_steps(const json& steps, std::vector<std::string>& lines)
{
    if (steps.empty())
        return;
    lines.insert(lines.end(), {"", "In this order:"});
    for (const json& one : steps)
        lines.push_back("  " + (one.contains("does") ? text_at(one, "does") : exchange_text(one)));
}

void add_meanings(const char* heading, const json& meanings, std::vector<std::string>& lines)
{
    if (meanings.empty())
        return;
    lines.insert(lines.end(), {"", heading});
    for (const json& one : meanings)
        lines.push_back("  " + text_at(one, "value") + ": " + text_at(one, "meaning"));
}

void add_commands(const json& commands, std::vector<std::string>& lines)
{
    if (commands.empty())
        return;
    lines.insert(lines.end(), {"", "Commands that use it:"});
    for (const json& one : commands)
        lines.push_back("  utmctl " + one.get<std::string>());
}

} // namespace

json description_of(const char* family, const function_row& function)
{
    return {{"function", function.name()},
            {"family", family},
            {"prototype", function.by_words.prototype},
            {"does", function.does},
            {"arguments", arguments_of(function)},
            {"steps", steps_of(function)},
            {"waits", function.waits},
            {"returns", json_of(function.result.values)},
            {"errno", json_of(causes_of(function))},
            {"afterwards", text_or_null(function.afterwards)},
            {"destroys", text_or_null(function.destroys)},
            {"commands", commands_that_use(function.name())}};
}

std::vector<std::string> description_lines(const json& description)
{
    std::vector<std::string> lines = {text_at(description, "prototype"), "",
                                      "Does: " + text_at(description, "does") + "."};
    add_arguments(description["arguments"], lines);
    add_steps(description["steps"], lines);
    lines.insert(lines.end(), {"", "Waits: " + text_at(description, "waits") + "."});
    add_meanings("Returns:", description["returns"], lines);
    add_meanings("errno, when it has failed:", description["errno"], lines);
    if (!description["destroys"].is_null())
        lines.insert(lines.end(), {"", "Destroys: " + text_at(description, "destroys") + "."});
    add_commands(description["commands"], lines);
    return lines;
}

table layout_of(const json& description)
{
    table layout = {
        .columns = {
            {"DAEMON", false}, {"CODE"}, {"RECORD", false}, {"OFFSET"}, {"SIZE"}, {"TYPE", false}, {"FIELD", false}}};
    for (const json& step : description["steps"]) {
        for (const char* record : {"request", "reply"}) {
            for (const json& one : step.value(record, json::object()).value("fields", json::array()))
                layout.rows.push_back({text_at(step, "daemon"), step["code"].dump(), record, one["offset"].dump(),
                                       one["size"].dump(), text_at(one, "type"), text_at(one, "name")});
        }
    }
    return layout;
}
