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

void tell(outcome& told, const findings& found, const char* check)
{
    for (const finding& one : found) {
        const severity_row& row = row_of(one);
        told.status = std::max(told.status, row.status);
        const std::string word = coloured(row.word, colour_of_word(row.word), takes_colours(STDOUT_FILENO));
        told.lines.push_back(word + ": " + one.what + "; " + one.remedy);
        json value = {{"severity", row.word}, {"what", one.what}, {"remedy", one.remedy}};
        if (check != nullptr)
            value["check"] = check;
        told.result.push_back(std::move(value));
    }
}
