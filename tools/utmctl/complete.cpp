#include "tools/utmctl/arguments.h"
#include "tools/utmctl/completion.h"
#include "tools/utmctl/families.h"

// The command that the completion of the shells asks.

namespace {

outcome complete(const request& asked)
{
    outcome told = {.result = json::array()};
    for (std::string& one : completions_of(asked.all("WORD"))) {
        told.result.push_back(one);
        told.lines.push_back(std::move(one));
    }
    return told;
}

constexpr argument words[] = {
    {"WORD", occurs::any_number, check_any, "the words of the line so far; the last may be empty, or begun"},
};

constexpr command commands[] = {
    {"", words, complete, "list what may come next on a line, for the completion of a shell"},
};

} // namespace

constinit const family complete_family = {"complete", "what may come next on a line", commands};
