#pragma once

#include "tools/utmctl/output.h"

#include <optional>
#include <string>
#include <vector>

// What the command line asks for, checked as a whole before anything is done.
struct command_line {
    output_style style;
    const family* group = nullptr; // as far as the words are known
    const command* what = nullptr;
    request asked;
    std::vector<std::string> words;
    size_t plain_from = 0; // the first of the words that no option is looked for in, as they stood behind --
    bool help = false;     // is wanted on what the words name
    std::optional<problem> incomplete; // the words name no command yet, so that help may serve
};

// How results are to be printed, found out even when the rest of the line is wrong.
output_style style_of(const std::vector<std::string>& arguments);

// Fills in the line as far as it is understood, before it throws what is wrong with it.
void parse(const std::vector<std::string>& arguments, command_line& line);

// The words that are understood; empty when none are.
std::string command_of(const command_line& line);
