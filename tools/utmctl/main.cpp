// utmctl: the operations of the UTM client library on the command line.

#include "tools/utmctl/command_line.h"
#include "tools/utmctl/dry_run.h"
#include "tools/utmctl/explanation.h"
#include "tools/utmctl/help.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

outcome run(const command_line& line)
{
    if (line.what != nullptr)
        return line.dry_run ? dry_run(line.asked) : line.what->run(line.asked);
    outcome help = help_on(line.words);
    if (line.incomplete) {
        help.status = line.incomplete->status;
        help.problems = {*line.incomplete};
    }
    return help;
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
    std::optional<explanation> watched;
    outcome result;
    try {
        parse(given, line);
        if (line.explain)
            watched.emplace();
        result = run(line);
    } catch (const failure& cause) {
        result = failed(cause);
    }
    if (watched)
        result.explanation = watched->tell();
    return static_cast<int>(print(command_of(line), result, line.style));
}
