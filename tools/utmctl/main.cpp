// utmctl: the operations of the UTM client library on the command line.

#include "tools/utmctl/run_line.h"

#include <algorithm>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace {

// The library has said nothing to a line that is wrong. For scripts the member is there all the same.
outcome with_explanation(outcome result, const std::vector<std::string>& given, const output_style& style)
{
    if (style.json && std::find(given.begin(), given.end(), "--explain") != given.end())
        result.explanation = json::array();
    return result;
}

outcome parse_and_run(const std::vector<std::string>& given, command_line& line)
{
    try {
        parse(given, line);
    } catch (const failure& cause) {
        return with_explanation(failed(cause), given, line.style);
    }
    return run_line(line);
}

// A descriptor that the caller closed would be taken by a connection, and descriptor 0 is none to the library.
void fill_closed_descriptors()
{
    int fd;
    do
        fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
    while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd >= 0)
        close(fd);
}

} // namespace

int main(int count, char** arguments)
{
    fill_closed_descriptors();
    const std::vector<std::string> given(arguments + 1, arguments + count);
    command_line line = {.style = style_of(given)};
    outcome result = parse_and_run(given, line);
    return static_cast<int>(print(command_of(line), std::move(result), line.style));
}
