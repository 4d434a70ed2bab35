#include "tools/utmctl/run_line.h"

#include "tools/utmctl/columns.h"
#include "tools/utmctl/dry_run.h"
#include "tools/utmctl/explanation.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/help.h"
#include "tools/utmctl/readings.h"
#include "tools/utmctl/waiting.h"

namespace {

// A command that holds others leaves it to them whether they wait and are carried out.
outcome carry_out(const command_line& line)
{
    const bool rehearsed = line.asked.dry_run && (!streams(line) || idle_deed(line.asked.words) != nullptr);
    if (streams(line) && !rehearsed)
        return line.what->run(line.asked);
    if (rehearsed)
        return dry_run(line.asked);
    if (line.asked.wait > 0)
        wait_for_daemons(line.asked);
    return line.what->run(line.asked);
}

outcome run_command(const command_line& line)
{
    outcome result = carry_out(line);
    if (result.rows && !line.style.json && !line.style.columns.empty())
        result.rows = with_columns(*result.rows, line.style.columns);
    return result;
}

outcome run(const command_line& line)
{
    if (line.what != nullptr)
        return run_command(line);
    outcome help = help_on(line.words);
    if (line.incomplete) {
        help.status = line.incomplete->status;
        help.problems = {*line.incomplete};
    }
    return help;
}

outcome run_to_its_end(const command_line& line)
{
    try {
        return run(line);
    } catch (const failure& cause) {
        return failed(cause);
    }
}

} // namespace

bool streams(const command_line& line)
{
    return line.what != nullptr && line.what->streams != nullptr && line.what->streams(line.asked);
}

std::string streaming_words(const command_line& line)
{
    return line.asked.words + (line.group == &logs_family ? " -f" : "");
}

outcome run_line(const command_line& line)
{
    std::optional<explanation> watched;
    if (line.asked.explain && !streams(line))
        watched.emplace();
    outcome result = run_to_its_end(line);
    if (watched)
        result.explanation = watched->tell();
    return result;
}
