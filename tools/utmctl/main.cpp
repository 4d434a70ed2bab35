// utmctl: the operations of the UTM client library on the command line.

#include "tools/utmctl/command_line.h"
#include "tools/utmctl/help.h"

namespace {

outcome failed(const failure& cause)
{
    return {.status = cause.why().status, .problems = {cause.why()}};
}

outcome run(const command_line& line)
{
    return line.what == nullptr ? help_on(line.words) : line.what->run(line.asked);
}

} // namespace

int main(int count, char** arguments)
{
    const std::vector<std::string> given(arguments + 1, arguments + count);
    command_line line = {.style = style_of(given)};
    std::string words;
    outcome result;
    try {
        line = parse(given);
        words = line.what == nullptr ? "help" : words_of(*line.group, *line.what);
        result = run(line);
    } catch (const failure& cause) {
        result = failed(cause);
    }
    print(words, result, line.style);
    return static_cast<int>(result.status);
}
