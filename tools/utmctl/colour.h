#pragma once

#include <string>

// Colours, which only a person at a terminal gets to see.

enum class colour {
    none,
    good,
    doubtful,
    bad,
    heading
};

// Whether what is written there may be coloured: to a terminal that can, unless NO_COLOR is set.
bool takes_colours(int fd);

// The sequence that begins it; empty for none.
const char* sequence_of(colour one);

std::string coloured(const std::string& text, colour one, bool wanted);

// The colour of a word that tells how something is: a severity, or the word of an exit status.
colour colour_of_word(const std::string& word);
