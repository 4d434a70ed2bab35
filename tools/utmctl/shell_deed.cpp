#include "tools/utmctl/shell_deed.h"

outcome done_by_shell(const deed_words& words, json result, const std::string& printed)
{
    outcome told = {.result = std::move(result)};
    if (printed.empty()) {
        told.confirmations = {done(words)};
        return told;
    }
    const std::string first_line = printed.substr(0, printed.find('\n'));
    told.status = exit_status::done_in_part;
    told.problems = {{.status = told.status,
                      .what = done_in_part(words),
                      .culprits = {{"the shell", "", "says " + in_quotes(first_line)}},
                      .next = "mend what it names, then run the command again"}};
    return told;
}
