#include "tools/utmctl/arguments.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/log_entry.h"
#include "tools/utmctl/meanings.h"
#include "tools/utmctl/number.h"

#include <algorithm>

namespace {

using texts = std::vector<std::string>;

// The words and paths that a line may begin with, where utmctl printed it.
texts known_sources()
{
    texts sources = {"printed"};
    for (const log_family& one : log_families)
        sources.insert(sources.end(), {one.word, one.path});
    return sources;
}

std::string_view without_source(std::string_view line)
{
    for (const std::string& one : known_sources()) {
        if (line.starts_with(one + ": "))
            return line.substr(one.size() + 2);
    }
    return line;
}

// Without " (22 times)".
std::string_view without_times(std::string_view line)
{
    constexpr std::string_view end = " times)";
    const size_t open = line.rfind(" (");
    if (!line.ends_with(end) || open == std::string_view::npos)
        return line;
    const std::string_view number = line.substr(open + 2, line.size() - end.size() - open - 2);
    return number_of<int>(number) ? line.substr(0, open) : line;
}

// Of a text as the library wrote it, or as a line of 'utmctl log' or --explain that was copied.
const meaning* meaning_of_line(const std::string& line)
{
    const meaning* known = meaning_of(line);
    return known != nullptr ? known : meaning_of(without_times(without_source(line)));
}

void tell(outcome& told, const std::string& text, const meaning* known)
{
    told.result.push_back({{"text", text}, {"meaning", known != nullptr ? json(known->means) : json()}});
    told.lines.push_back(printable(text));
    told.lines.push_back(known != nullptr ? std::string("    ") + known->means : "    not a text of the library");
}

outcome explain_all()
{
    outcome told = {.result = json::array()};
    for (const meaning& one : all_meanings())
        tell(told, one.text, &one);
    return told;
}

bool is_known(const std::string& text)
{
    return meaning_of_line(text) != nullptr;
}

bool has_blank(const std::string& text)
{
    return text.find(' ') != std::string::npos;
}

// Several words, none of which is a text: most likely the quotes around one were forgotten.
bool lacks_quotes(const texts& given)
{
    return given.size() > 1 && std::none_of(given.begin(), given.end(), is_known) &&
           std::none_of(given.begin(), given.end(), has_blank);
}

// One text where the words make one only together.
texts texts_in(const texts& given)
{
    if (std::all_of(given.begin(), given.end(), is_known))
        return given;
    std::string joined;
    for (const std::string& one : given)
        joined.append(joined.empty() ? "" : " ").append(one);
    return is_known(joined) || lacks_quotes(given) ? texts{joined} : given;
}

void tell_unknown(outcome& told, const std::string& text, bool quotes)
{
    told.status = exit_status::refused;
    told.problems.push_back(
        {.status = told.status,
         .what = in_quotes(text) + " is not a text of the library",
         .culprits = {},
         .next = std::string(quotes ? "" : "give each text in quotes; ") + "'utmctl explain' lists all of them"});
}

outcome explain(const request& asked)
{
    const texts given = texts_in(asked.all("TEXT"));
    if (given.empty())
        return explain_all();
    outcome told = {.result = json::array()};
    for (const std::string& text : given) {
        const meaning* known = meaning_of_line(text);
        tell(told, text, known);
        if (known == nullptr)
            tell_unknown(told, text, !lacks_quotes(asked.all("TEXT")));
    }
    return told;
}

constexpr argument any_texts[] = {
    {"TEXT", occurs::any_number, check_any, "a message of a diagnostic log, or what was printed; none: all there are"},
};

constexpr command commands[] = {
    {"", any_texts, explain, "tell what texts of the library mean, such as a message of a diagnostic log", nullptr,
     "explain 'user profile id(7) not found'"},
};

} // namespace

constinit const family explain_family = {"explain", "what the library's texts mean", commands};
