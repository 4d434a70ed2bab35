#include "tools/utmctl/colour.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string_view>
#include <unistd.h>

namespace {

constexpr char end_of_colour[] = "\033[0m";

struct coloured_word {
    std::string_view word;
    colour shown;
};

constexpr coloured_word coloured_words[] = {
    {"ok", colour::good},
    {"answers", colour::good},
    {"connects", colour::good},
    {"done", colour::good},
    {"added", colour::good},
    {"recovered", colour::good},
    {"note", colour::doubtful},
    {"warning", colour::doubtful},
    {"changed", colour::doubtful},
    {"done-in-part", colour::doubtful},
    {"error", colour::bad},
    {"removed", colour::bad},
    {"failed", colour::bad},
    {"refused", colour::bad},
    {"usage", colour::bad},
    {"unsafe", colour::bad},
    {"no-answer", colour::bad},
    {"unreachable", colour::bad},
    {"registry-unusable", colour::bad},
    {"unknown-identifier", colour::bad},
    {"protocol-error", colour::bad},
};

std::string_view variable(const char* name)
{
    const char* value = getenv(name);
    return value != nullptr ? value : "";
}

} // namespace

bool takes_colours(int fd)
{
    return isatty(fd) != 0 && variable("NO_COLOR").empty() && variable("TERM") != "dumb";
}

const char* sequence_of(colour one)
{
    switch (one) {
    case colour::none:
        return "";
    case colour::good:
        return "\033[32m";
    case colour::doubtful:
        return "\033[33m";
    case colour::bad:
        return "\033[31m";
    case colour::heading:
        return "\033[1m";
    }
    return "";
}

std::string coloured(const std::string& text, colour one, bool wanted)
{
    return wanted && one != colour::none ? sequence_of(one) + text + end_of_colour : text;
}

colour colour_of_word(const std::string& word)
{
    const auto* known = std::find_if(std::begin(coloured_words), std::end(coloured_words),
                                     [&](const coloured_word& one) { return one.word == word; });
    return known == std::end(coloured_words) ? colour::none : known->shown;
}
