#include "tools/utmctl/outcome.h"

#include <algorithm>
#include <iterator>

namespace {

std::string description_of(const culprit& one)
{
    std::string place = one.path.empty() ? "" : " (" + one.path + ")";
    return one.name + place + " " + one.cause;
}

bool did_something(exit_status status)
{
    return status == exit_status::done || status == exit_status::done_in_part;
}

// Some done and some not is done in part; where all failed, the higher number counts.
exit_status worse_of(exit_status a, exit_status b)
{
    if (did_something(a) != did_something(b))
        return exit_status::done_in_part;
    return std::max(a, b);
}

exit_status status_of(const std::string& word)
{
    return std::find_if(std::begin(exit_statuses), std::end(exit_statuses),
                        [&](const exit_status_row& row) { return word == row.word; })
        ->status;
}

template <class T> void append(std::vector<T>& to, std::vector<T>& from)
{
    std::move(from.begin(), from.end(), std::back_inserter(to));
}

} // namespace

void refuse_usage(const std::string& what, const std::string& next)
{
    throw failure({.status = exit_status::usage, .what = what, .culprits = {}, .next = next});
}

void add(outcome& sum, outcome part)
{
    sum.status = sum.result.empty() ? part.status : worse_of(sum.status, part.status);
    sum.result.push_back(std::move(part.result));
    append(sum.lines, part.lines);
    append(sum.confirmations, part.confirmations);
    append(sum.problems, part.problems);
}

outcome failed(const failure& cause)
{
    return {.status = cause.why().status, .problems = {cause.why()}};
}

std::string sentence_of(const problem& why)
{
    std::string text = why.what;
    const char* joint = ": ";
    for (const culprit& one : why.culprits) {
        text += joint + description_of(one);
        joint = ", and ";
    }
    return text + "; " + why.next;
}

json json_of(const problem& why)
{
    json culprits = json::array();
    for (const culprit& one : why.culprits)
        culprits.push_back(
            {{"name", one.name}, {"path", one.path.empty() ? json() : json(one.path)}, {"cause", one.cause}});
    return {{"status", word_of(why.status)},
            {"message", sentence_of(why)},
            {"what", why.what},
            {"culprits", culprits},
            {"next", why.next}};
}

problem problem_of(const json& told)
{
    problem why = {.status = status_of(told["status"]), .what = told["what"], .culprits = {}, .next = told["next"]};
    for (const json& one : told["culprits"])
        why.culprits.push_back(
            {one["name"], one["path"].is_null() ? "" : one["path"].get<std::string>(), one["cause"]});
    return why;
}
