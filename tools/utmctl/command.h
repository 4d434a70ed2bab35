#pragma once

#include "tools/utmctl/outcome.h"
#include "tools/utmctl/output_style.h"

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The commands: each family lists its own in a table, which drives dispatch, help and errors alike.

enum class occurs {
    once,
    at_most_once,
    at_least_once,
    any_number,
    flag,        // an option without a value
    command_line // of another command, with its options
};

// A positional argument, or an option where the name starts with a hyphen. The check says what is wrong with one of the
// texts given, and nothing when it is good.
struct argument {
    const char* name;
    occurs count;
    std::string (*check)(const std::string&);
    const char* help;
    const char* value = "VALUE"; // of an option, in help
};

// A kind of word that an argument may be.
struct explained_word {
    const char* word;
    const char* means;
};

struct command;

// What the user asked for: the texts given for each argument, all of them checked.
struct request {
    std::map<std::string, std::vector<std::string>> values = {};
    double timeout = 0;                       // seconds for each call of the library
    std::optional<double> given_timeout = {}; // those that --timeout tells
    double wait = 0;                          // seconds in which the daemons that it needs may yet come up
    bool yes = false;                         // what the command destroys may be destroyed
    bool dry_run = false;                     // it is told, not done
    bool explain = false;                     // what the library said is told, too
    std::string words = {};                   // of the command
    const command* what = nullptr;
    output_style style = {};

    const std::vector<std::string>& all(const char* name) const { return values.at(name); }
    bool has(const char* name) const { return !all(name).empty(); }
    const std::string& one(const char* name) const { return all(name).front(); }
};

// What a command does, and the functions of the library that it uses, with spaces between their names.
class action {
public:
    constexpr action(outcome (*run)(const request&), std::string_view functions = "") : run_(run), functions_(functions)
    {
    }

    outcome operator()(const request& asked) const { return run_(asked); }
    std::vector<std::string> functions() const;

private:
    outcome (*run_)(const request&);
    std::string_view functions_;
};

struct command {
    const char* word; // empty: the family's word alone is the command
    std::span<const argument> arguments;
    action run;
    const char* help;
    const char* destroys = nullptr; // what is lost, where the command wants --yes
    const char* example = nullptr;
    double timeout = 60;                        // seconds for each call, where --timeout tells no other
    bool (*streams)(const request&) = nullptr;  // whether it prints as it goes, so that no other command can hold it
    std::span<const explained_word> words = {}; // that its arguments may be
};

struct family {
    const char* word;
    const char* help;
    std::span<const command> commands;
};

std::span<const family* const> all_families();

// Refuses arguments that are good each for itself.
[[noreturn]] void refuse_arguments(const request& asked, const std::string& wrong);

// Refuses what destroys something and is not allowed to.
[[noreturn]] void refuse_to_destroy(const std::string& words, const std::string& what);

std::string words_of(const family& group, const command& one);

// Whether the family's word alone is its one command.
bool is_one_word(const family& group);
