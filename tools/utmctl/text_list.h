#pragma once

#include "tools/utmctl/command.h"

#include <cstdint>

// Texts for a list: the arguments of a command, then the lines of the file that its option -f names.

struct text_entry {
    std::string text;
    size_t line = 0; // in the file; 0 for an argument
};

// The option: every command that takes texts from a file has it.
inline std::string check_file_name(const std::string& text)
{
    return text.empty() ? "the name of a file is not empty" : "";
}
inline constexpr argument texts_from_file = {
    "-f", occurs::at_most_once, check_file_name,
    "a file with one entry a line, - is standard input; blank lines are skipped, and # starts no comment", "FILE"};

// All of them in order, checked as the argument is. Blank lines are passed over. Refuses what has none, and throws a
// failure, which starts with what, when the file cannot be read.
std::vector<text_entry> texts_of(const request& asked, const argument& texts, const std::string& what);

// Where it stands, for a sentence: " (line 3 of urls.txt)", or nothing for an argument.
std::string place_of(const text_entry& entry, const request& asked);

// Texts of hexadecimal digits, as the bytes that they spell one after another.
std::vector<uint8_t> bytes_of(const std::vector<text_entry>& entries);
