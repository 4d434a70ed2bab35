#pragma once

#include "operations/argument.h"
#include "operations/daemons.h"
#include "operations/prototype.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

// The functions that the library exports: what each takes, does, waits for and returns, and how to call it.
namespace operations {

// One thing that a function does: an exchange with a daemon, or something else in words.
struct step {
    constexpr step() = default;
    constexpr step(const daemon_row& with, uint32_t sent, const char* condition = nullptr)
        : daemon(&with), code(sent), when(condition)
    {
    }
    constexpr step(const char* text, bool changing = false) : deed(text), changes_registry(changing) {}

    const daemon_row* daemon = nullptr;
    uint32_t code = 0;
    const char* when = nullptr; // of an exchange that is not always made
    const char* deed = nullptr;
    bool changes_registry = false;

    constexpr bool is_there() const { return daemon != nullptr || deed != nullptr; }
};

constexpr step change_of_registry(const char* text)
{
    return {text, true};
}

struct meaning {
    const char* value;
    const char* means;
};

// When a function has failed, by what it returned. Null and -1 with errno 0 mean that there is nothing.
enum class fails {
    never,
    not_zero,
    minus_one,
    negative,
    null,
    zero // unless errno is 0
};

// What it failed on, where errno alone leaves that open.
enum class fails_on {
    daemon,
    shared_memory, // which the key file leads to, and its lock
    system
};

struct result_kind {
    fails when;
    std::span<const meaning> values;
    std::span<const meaning> causes = {}; // by errno
    fails_on on = fails_on::daemon;
    bool may_be_cut = false; // a list of an engine, which errno alone tells to be not whole
};

// What came of a call. An output is there for each parameter that the function writes to; null for a null pointer.
struct call_result {
    json returned = {}; // null for null, and for nothing
    int error = 0;      // errno after the call
    std::vector<std::optional<json>> outputs = {};
};

// A function as words call it.
struct callable {
    std::string_view prototype;
    std::string (*word)(size_t at);
    std::string (*wrong)(words given, size_t at);
    call_result (*call)(words given);
};

constexpr size_t most_steps = 8;

inline constexpr uint32_t kind_of_next_argument = UINT32_MAX;

// What an argument is. The registry is asked for an identifier, or takes a new one, where it has a kind.
struct argument_help {
    constexpr argument_help() = default;
    constexpr argument_help(const char* help, uint32_t id_kind = 0, bool is_new = false)
        : text(help), kind(id_kind), reserves(is_new)
    {
    }

    const char* text = nullptr;
    uint32_t kind = 0; // an utm_id_kind, or that of the next argument
    bool reserves = false;
    bool daemon_opens = false;
};

// A path that a daemon, whose working folder is its own, is to open.
constexpr argument_help path_for_daemon(const char* help)
{
    argument_help path = help;
    path.daemon_opens = true;
    return path;
}

struct function_row {
    callable by_words;
    const char* does;
    argument_help arguments[most_parameters];
    step steps[most_steps];
    const char* waits;
    const result_kind& result;
    const char* afterwards = nullptr; // what becomes of what the function hands out, once it has been told
    const char* destroys = nullptr;
    bool (*destroys_with)(words given) = nullptr; // where that depends on the arguments

    constexpr signature parsed() const { return parse_prototype(by_words.prototype); }
    constexpr std::string_view name() const { return parsed().function.name; }
};

struct function_family {
    const char* name;
    const char* about;
    std::span<const function_row> (*functions)();
};

std::span<const function_family> function_families();

const function_family& family_of(const function_row& function);

// Whether a call with these words loses something.
bool destroys(const function_row& function, words given);

// Null for a name that no function has.
const function_row* find_function(std::string_view name);

bool has_failed(const function_row& function, const json& returned, int error);

// Whether a list that was returned lacks entries.
bool is_cut(const function_row& function, const json& returned, int error);

} // namespace operations
