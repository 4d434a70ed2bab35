#pragma once

#include "tools/utmctl/output.h"

#include <string>
#include <vector>

// What the command line asks for, checked as a whole before anything is done.
struct command_line {
    output_style style;
    const family* group = nullptr; // null: help is wanted on what the words name
    const command* what = nullptr;
    request asked;
    std::vector<std::string> words;
};

// How results are to be printed, found out even when the rest of the line is wrong.
output_style style_of(const std::vector<std::string>& arguments);

command_line parse(std::vector<std::string> arguments);
