#pragma once

#include "tools/utmctl/command.h"

// The options, by their names.

constexpr char pretty_json[] = "--json=pretty";
constexpr char pretty_style[] = "pretty";
constexpr char end_of_options[] = "--"; // behind it words are arguments, whatever they begin with

bool is_option(const std::string& word); // "-5" is a number, and "-" standard input

struct global_option;
std::vector<std::string> names_of(const global_option& one);
std::vector<std::string> names_of_options();                    // that any command takes
std::vector<std::string> names_of_options(const command& what); // of its own

// Refuses an option that utmctl, or the command, does not have, and tells which may be meant.
[[noreturn]] void refuse_option(const std::string& word);
[[noreturn]] void refuse_option(const std::string& word, const request& asked);

// Refuses the style of JSON as a word of its own, which belongs to no option.
[[noreturn]] void refuse_pretty(const std::string& lead);
