#pragma once

#include "tools/utmctl/command.h"

// A line as far as it is typed.
struct typed_line {
    std::vector<std::string> words = {}; // all of them
    std::string begun = {};              // the word that is to be completed
    bool watched = false;                // the commands that may be watched are what is offered
    bool plain = false;                  // options have ended
    const family* group = nullptr;
    const command* what = nullptr;
    std::vector<std::string> arguments = {}; // of the command, without its options
    std::vector<std::string> options = {};
    const argument* expecting = nullptr; // the option whose value comes next
    bool expects_value = false;          // of that option, or of a global one
    bool wrong = false;                  // a word that is no command
};

// Finds out what the words are.
void read_words(typed_line& line);
