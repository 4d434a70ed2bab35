#include "tools/utmctl/dump.h"

#include "tools/utmctl/config_deed.h"
#include "tools/utmctl/file_path.h"
#include "tools/utmctl/registry_view.h"
#include "tools/utmctl/shell_deed.h"

#include <algorithm>
#include <fstream>

namespace {

constexpr std::string_view heading_mark = "====";
constexpr char last_part[] = "policy ID[shared memory]"; // what the library writes last

// The lines of a dump, by the headings above them; those before the first have none.
json sections_of(const std::vector<std::string>& lines)
{
    json sections = json::array();
    for (const std::string& line : lines) {
        const bool heading = line.starts_with(heading_mark);
        if (heading || sections.empty())
            sections.push_back(
                {{"heading", heading ? json(line.substr(heading_mark.size())) : json()}, {"lines", json::array()}});
        if (!heading)
            sections.back()["lines"].push_back(line);
    }
    return sections;
}

std::vector<std::string> lines_of(const std::string& path)
{
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

bool is_whole(const std::vector<std::string>& lines)
{
    return std::any_of(lines.begin(), lines.end(), [](const std::string& line) { return line.ends_with(last_part); });
}

problem breaks_off(const std::string& what, const std::string& path)
{
    return {.status = exit_status::done_in_part,
            .what = what,
            .culprits = {{"the file", path, "does not hold what the registry holds"}},
            .next = "see what 'utmctl registry show' tells, then run the command again"};
}

} // namespace

// The library returns success, with nothing sent, when it cannot lock the registry.
outcome dump(const dump_kind& kind, const request& asked)
{
    const std::string path = path_of(asked.one("FILE"));
    const deed_words words = {kind.subject, "written to " + path};
    read_registry(not_done(words), asked.timeout);
    const exchanged call = exchange(words, kind.daemon, asked.timeout, [&] { return as_json(kind.call(path)); });
    const std::vector<std::string> lines = lines_of(path);
    outcome told = done_by_shell(words, {{"file", path}, {"sections", sections_of(lines)}}, call.printed);
    told.lines = lines;
    if (told.problems.empty() && !is_whole(lines)) {
        told.status = exit_status::done_in_part;
        told.problems = {breaks_off(done_in_part(words), path)};
        told.confirmations.clear();
    }
    return told;
}
