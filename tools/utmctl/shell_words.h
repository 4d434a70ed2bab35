#pragma once

#include <string>
#include <string_view>
#include <vector>

// A line as a shell takes it apart: words between blanks, 'quotes', "quotes" in which a backslash stands before " and
// \, backslashes elsewhere, and # before a comment. Nothing is replaced: no variables, no file names.
struct shell_words {
    std::vector<std::string> words;
    std::string wrong; // what is wrong with the line; empty when nothing is
};

shell_words words_in(std::string_view line);
