#include "tools/utmctl/arguments.h"
#include "tools/utmctl/call_failure.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/function_argument.h"
#include "tools/utmctl/json_table.h"
#include "tools/utmctl/rehearsal.h"
#include "tools/utmctl/worker.h"

#include <cerrno>
#include <sstream>

namespace {

using operations::function_row;
using texts = std::vector<std::string>;

constexpr argument arguments[] = {
    {"FUNCTION", occurs::once, check_function, "an exported function of the library"},
    {"ARGUMENT", occurs::any_number, check_any, "its arguments, as 'utmctl describe FUNCTION' tells them"},
    {"--yes", occurs::flag, check_any, "what the function destroys may be destroyed"},
};

// "2 arguments: rule, action"
std::string parameters_of(const operations::signature& parsed)
{
    std::string text = parsed.count == 0 ? "no arguments" : std::to_string(parsed.count) + " argument";
    text += parsed.count > 1 ? "s" : "";
    for (size_t at = 0; at < parsed.count; ++at)
        text.append(at == 0 ? ": " : ", ").append(parsed.parameters.at(at).name);
    return text;
}

void check(const request& asked, const function_row& function)
{
    const texts& given = asked.all("ARGUMENT");
    const operations::signature parsed = function.parsed();
    const std::string name(function.name());
    if (given.size() != parsed.count)
        refuse_arguments(asked, name + " takes " + parameters_of(parsed));
    for (size_t at = 0; at < given.size(); ++at) {
        const std::string wrong = function.by_words.wrong(given, at);
        if (!wrong.empty())
            refuse_arguments(asked,
                             std::string(parsed.parameters.at(at).name) + ": " + in_quotes(given[at]) + " " + wrong);
    }
    if (function.destroys != nullptr && !asked.has("--yes") && !asked.yes && rehearsal::current() == nullptr)
        refuse_to_destroy(name, function.destroys);
}

awaited awaited_by(const function_row& function)
{
    awaited whom = {.daemons = {}, .registry_lock = false};
    for (const operations::step& one : function.steps) {
        if (one.daemon != nullptr)
            whom.daemons.push_back({one.daemon->title, one.daemon->path});
        whom.registry_lock |= one.deed != nullptr && std::string_view(one.deed).starts_with("registry");
    }
    return whom;
}

json outputs_of(const function_row& function, const operations::call_result& result)
{
    const operations::signature parsed = function.parsed();
    json outputs = json::object();
    for (size_t at = 0; at < result.outputs.size(); ++at) {
        if (result.outputs[at])
            outputs[std::string(parsed.parameters.at(at).name)] = *result.outputs[at];
    }
    return outputs;
}

json lines_of(const std::string& text)
{
    json lines = json::array();
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

// Runs in the worker, and leaves errno as the function left it.
json carry_out(const function_row& function, const texts& given)
{
    const operations::call_result result = function.by_words.call(given);
    json told = {{"function", function.name()},
                 {"returned", result.returned},
                 {"errno", nullptr},
                 {"outputs", outputs_of(function, result)}};
    errno = result.error;
    return told;
}

bool returns_nothing(const function_row& function)
{
    return function.parsed().function.type == "void";
}

table table_of_entries(const json& entries)
{
    std::vector<shown_member> members;
    for (const auto& [name, value] : entries.front().items())
        members.push_back({name.c_str(), {name.c_str(), value.is_number()}});
    return table_of(entries, members);
}

void tell(const function_row& function, outcome& result)
{
    const json& told = result.result;
    const json& returned = told["returned"];
    if (!returns_nothing(function))
        result.lines.push_back("returned: " + shown(returned));
    result.lines.push_back("errno: " + (told["errno"].is_null() ? "0" : told["errno"].get<std::string>()));
    for (const auto& [name, value] : told["outputs"].items())
        result.lines.push_back(name + ": " + shown(value));
    for (const json& line : told["printed"])
        result.lines.push_back("printed: " + shown(line));
    if (returned.is_array() && !returned.empty())
        result.rows = table_of_entries(returned);
    if (function.afterwards != nullptr && !returned.is_null())
        result.confirmations.emplace_back(function.afterwards);
}

outcome call_function(const request& asked)
{
    const function_row& function = function_of(asked.one("FUNCTION"));
    check(asked, function);
    const called asked_for = {function, asked.all("ARGUMENT"), registry_without_lock()};
    const call_result call = call_in_worker(
        std::string(function.name()) + " did not return", asked.timeout,
        [&] { return carry_out(function, asked.all("ARGUMENT")); }, awaited_by(function));
    const std::optional<problem> failed = failure_of(asked_for, call.value["returned"], call.error);
    outcome result = {.result = call.value};
    if (failed && call.error != 0)
        result.result["errno"] = errno_name(call.error);
    result.result["printed"] = lines_of(call.printed);
    tell(function, result);
    if (failed) {
        result.status = failed->status;
        result.problems = {*failed};
    }
    return result;
}

constexpr command commands[] = {
    {"", arguments, call_function, "call a function of the library with raw values, and tell what it hands back",
     nullptr, "call utm_ips_activate 1"},
};

} // namespace

constinit const family call_family = {"call", "every function of the library", commands};
