#include "tools/utmctl/arguments.h"
#include "tools/utmctl/call_failure.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/file_path.h"
#include "tools/utmctl/function_argument.h"
#include "tools/utmctl/json_table.h"
#include "tools/utmctl/lock_view.h"
#include "tools/utmctl/rehearsal.h"
#include "tools/utmctl/worker.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <set>
#include <sstream>

namespace {

using operations::function_row;
using texts = std::vector<std::string>;

constexpr argument arguments[] = {
    {"FUNCTION", occurs::once, check_function, "an exported function of the library"},
    {"ARGUMENT", occurs::any_number, check_any, "its arguments, as 'utmctl describe FUNCTION' tells them"},
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

std::string description_of(const function_row& function)
{
    return "'utmctl describe " + std::string(function.name()) + "'";
}

[[noreturn]] void refuse_words(const request& asked, const function_row& function, const std::string& wrong)
{
    refuse_usage(asked.words + ": " + wrong, description_of(function) + " tells what it takes");
}

// A daemon that opens a file has a working folder of its own, so that a path is handed over from the root on, unless it
// is said to be meant as it is.
texts with_whole_paths(const function_row& function, texts given)
{
    for (size_t at = 0; at < std::min(given.size(), operations::most_parameters); ++at) {
        std::string& path = given[at];
        const bool as_it_is = path.empty() || path == operations::null_word || path.front() == '/' ||
                              path.starts_with(operations::literal_text);
        if (function.arguments[at].daemon_opens && !as_it_is)
            path = path_of(path);
    }
    return given;
}

void check(const request& asked, const function_row& function, const texts& given)
{
    const operations::signature parsed = function.parsed();
    if (given.size() != parsed.count)
        refuse_words(asked, function, std::string(function.name()) + " takes " + parameters_of(parsed));
    for (size_t at = 0; at < given.size(); ++at) {
        const std::string wrong = function.by_words.wrong(given, at);
        if (!wrong.empty())
            refuse_words(asked, function,
                         std::string(parsed.parameters.at(at).name) + ": " + in_quotes(given[at]) + " " + wrong);
    }
    const bool allowed = asked.yes || rehearsal::current() != nullptr;
    if (!allowed && operations::destroys(function, given))
        refuse_to_destroy(std::string(function.name()), function.destroys);
}

// A function that is given a semaphore may wait for one that is a lock of the library.
void await_semaphore(awaited& whom, int semaphore, const std::string& what)
{
    const auto is_of = [&](const lock& one) {
        const std::optional<lock_view> seen = look_at(one);
        return seen && seen->set == semaphore;
    };
    whom.registry_lock = is_of(registry_lock);
    whom.uuid_lock = is_of(uuid_lock);
    whom.without_lock = what;
}

awaited awaited_by(const function_row& function, const texts& given, const std::string& what)
{
    const bool changes_registry =
        std::ranges::any_of(function.steps, [](const auto& one) { return one.changes_registry; });
    awaited whom = {.daemons = {},
                    .registry_lock = false,
                    .advice = "what it does may have been done all the same; --timeout sets a longer limit, and " +
                              description_of(function) + " tells how long the library itself waits" +
                              (changes_registry ? ", and 'utmctl registry show' what the registry holds" : "")};
    for (const operations::step& one : function.steps) {
        if (one.daemon != nullptr)
            whom.daemons.push_back({one.daemon->title, one.daemon->path});
        const std::string_view deed = one.deed != nullptr ? one.deed : "";
        whom.registry_lock |= deed.starts_with("registry");
        whom.uuid_lock |= deed.starts_with("system: common segment");
    }
    const bool only_reads = whom.daemons.empty() && !changes_registry;
    if (whom.uuid_lock || only_reads)
        whom.without_lock = what; // the lock of the UUID is taken before anything is done
    const operations::signature parsed = function.parsed();
    if (parsed.count == 1 && parsed.parameters.front().name == "semid")
        await_semaphore(whom, static_cast<int>(operations::parse_whole(given.front()).value()), what);
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

// Runs in the worker.
json carry_out(const function_row& function, const texts& given)
{
    const operations::call_result result = function.by_words.call(given);
    return {{"function", function.name()},
            {"returned", result.returned},
            {"errno", result.error},
            {"outputs", outputs_of(function, result)}};
}

bool returns_nothing(const function_row& function)
{
    return function.parsed().function.type == "void";
}

// "second_value" as SECOND-VALUE. The tables keep but a pointer to it.
const char* heading_of(std::string name)
{
    static std::set<std::string> headings;
    std::ranges::transform(name, name.begin(),
                           [](unsigned char c) { return c == '_' ? '-' : static_cast<char>(std::toupper(c)); });
    return headings.insert(std::move(name)).first->c_str();
}

table table_of_entries(const json& entries)
{
    std::vector<shown_member> members;
    for (const auto& [name, value] : entries.front().items())
        members.push_back({name.c_str(), {heading_of(name), value.is_number()}});
    return table_of(entries, members);
}

void tell(const function_row& function, outcome& result, bool failed)
{
    const json& told = result.result;
    const json& returned = told["returned"];
    result.lines.push_back(returns_nothing(function) ? "returned nothing" : "returned: " + shown(returned));
    if (!told["errno"].is_null())
        result.lines.push_back("errno: " + told["errno"].get<std::string>());
    for (const auto& [name, value] : told["outputs"].items())
        result.lines.push_back(name + ": " + shown(value));
    for (const json& line : told["printed"])
        result.lines.push_back("printed: " + shown(line));
    if (returned.is_array() && !returned.empty())
        result.rows = table_of_entries(returned);
    if (function.afterwards != nullptr && !returned.is_null() && !failed)
        result.confirmations.emplace_back(function.afterwards);
}

constexpr explained_word words[] = {
    {"a number", "decimal, or hexadecimal after 0x"},
    {"a text", "its bytes; null is a null pointer, and text: before a text lets it be any, such as text:null"},
    {"a MAC address", "02:42:ac:11:00:05 or 0242ac110005, or null"},
    {"bytes", "two hexadecimal digits each, or null"},
    {"out", "memory for the function to write to, told afterwards; or null"},
    {"attached", "for a segment to be detached, one that is attached before; or null"},
    {"a list", "to be released: how many entries a list that is made for the call has, or null"},
};

outcome call_function(const request& asked)
{
    const function_row& function = function_of(asked.one("FUNCTION"));
    const texts given = with_whole_paths(function, asked.all("ARGUMENT"));
    check(asked, function, given);
    const called asked_for = {function, given, registry_without_lock()};
    const std::string what = std::string(function.name()) + " did not return";
    const call_result call = call_in_worker(
        what, asked.timeout, [&] { return carry_out(function, given); }, awaited_by(function, given, what));
    outcome result = {.result = *call.result};
    const json returned = result.result["returned"];
    const int error = result.result["errno"];
    const std::optional<problem> failed = failure_of(asked_for, returned, error);
    result.result["errno"] = failed && error != 0 ? json(errno_name(error)) : json();
    result.result["printed"] = lines_of(call.printed);
    tell(function, result, operations::has_failed(function, returned, error));
    if (failed) {
        result.status = failed->status;
        result.problems = {*failed};
    }
    return result;
}

constexpr command commands[] = {
    {.word = "",
     .arguments = arguments,
     .run = call_function,
     .help = "call a function of the library with raw values, and tell what it hands back",
     .example = "call utm_ips_activate 1",
     .words = words},
};

} // namespace

constinit const family call_family = {"call", "every function of the library", commands};
