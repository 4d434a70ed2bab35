#include "tools/utmctl/finding.h"

#include "tools/utmctl/colour.h"

#include <algorithm>
#include <unistd.h>

namespace {

struct severity_row {
    const char* word;
    exit_status status;
};

constexpr severity_row severities[] = {
    {"note", exit_status::done},
    {"warning", exit_status::warning},
    {"error", exit_status::error},
};

const severity_row& row_of(const finding& one)
{
    return severities[static_cast<int>(one.how_bad)];
}

} // namespace

void append(findings& to, const findings& more)
{
    to.insert(to.end(), more.begin(), more.end());
}

std::string line_of(const finding& one)
{
    const char* word = row_of(one).word;
    return coloured(word, colour_of_word(word), takes_colours(STDOUT_FILENO)) + ": " + one.what + "; " + one.remedy;
}

void record(outcome& told, const finding& one, const char* check)
{
    const severity_row& row = row_of(one);
    told.status = std::max(told.status, row.status);
    json value = {{"severity", row.word}, {"what", one.what}, {"remedy", one.remedy}};
    if (check != nullptr)
        value["check"] = check;
    told.result.push_back(std::move(value));
}

void tell(outcome& told, const findings& found)
{
    for (const finding& one : found) {
        record(told, one);
        told.lines.push_back(line_of(one));
    }
}
