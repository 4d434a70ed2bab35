#include "tools/utmctl/parser.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace {

struct rewording {
    const char* parsers; // behind the name, in what the parser says
    const char* ours;
    const char* hyphens = ""; // that the parser leaves out
};

constexpr rewording rewordings[] = {
    {": 1 required", " needs a value"},
    {": At Most 1", " may be given once"},
    {" was given a disallowed flag override", " takes no value", "--"},
};

std::string wording_of(const CLI::ArgumentMismatch& error)
{
    std::string text = error.what();
    for (const rewording& one : rewordings) {
        const size_t end_of_name = text.find(one.parsers);
        if (end_of_name != std::string::npos)
            return one.hyphens + text.substr(0, end_of_name) + one.ours;
    }
    return text;
}

} // namespace

std::string parse_with(CLI::App& parser, std::vector<std::string> arguments)
{
    std::reverse(arguments.begin(), arguments.end()); // as the parser wants it
    try {
        parser.parse(arguments);
    } catch (const CLI::ArgumentMismatch& error) {
        return wording_of(error);
    } catch (const CLI::ParseError& error) {
        return error.what();
    }
    return "";
}
