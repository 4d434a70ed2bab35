#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The diagnostic logs of the library, and the messages in them.

struct log_family {
    const char* word;
    const char* path;
    bool tells_lines; // messages begin with the function that wrote them and its line, as in "connect_ips(57) ..."
};

extern const log_family log_families[4];

struct log_entry {
    std::string function; // that wrote it, where the message tells; else empty
    std::optional<int> line;
    std::string text; // the whole message
};

// The messages in a piece of a log. Trace messages have no end of line and run together, with each other and with
// the message that follows; they are told apart here.
std::vector<log_entry> entries_in(const log_family& family, std::string_view text);
