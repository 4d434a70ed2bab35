#include "tools/utmctl/options.h"

#include "tools/utmctl/help.h"
#include "tools/utmctl/lookup.h"

#include <algorithm>

namespace {

using texts = std::vector<std::string>;

bool holds(const texts& all, const std::string& word)
{
    return std::find(all.begin(), all.end(), word) != all.end();
}

bool is_of_a_command(const std::string& word)
{
    const auto families = all_families();
    return std::any_of(families.begin(), families.end(), [&](const family* group) {
        return std::any_of(group->commands.begin(), group->commands.end(),
                           [&](const command& one) { return holds(names_of_options(one), word); });
    });
}

// Whether it would be good as one of the arguments that are no options.
bool may_be_an_argument(const std::string& word, const command& what)
{
    return std::any_of(what.arguments.begin(), what.arguments.end(), [&](const argument& one) {
        return !is_option(one.name) && one.check != nullptr && one.check(word).empty();
    });
}

std::string list_of(const texts& names)
{
    std::string list;
    for (const std::string& one : names)
        list.append(list.empty() ? "" : ", ").append(one);
    return list;
}

// One letter is near to any other.
std::string nearest_option(const std::string& word, const texts& known)
{
    if (word.starts_with("-j=") || word == "--pretty")
        return pretty_json;
    const std::string name = word.substr(0, word.find('='));
    return name.starts_with("--") ? nearest_word(name, known) : "";
}

std::string advice_on(const std::string& word, const command& what)
{
    texts known = names_of_options(what);
    const std::string own = list_of(known);
    for (std::string& one : names_of_options())
        known.push_back(std::move(one));
    const std::string nearest = nearest_option(word, known);
    if (!nearest.empty())
        return "did you mean " + in_quotes(nearest) + "? ";
    if (may_be_an_argument(word, what))
        return "an argument that begins with a hyphen stands behind --; ";
    return own.empty() ? "" : "its own options are " + own + "; ";
}

} // namespace

bool is_option(const std::string& word)
{
    return word.size() > 1 && word[0] == '-' && isdigit(static_cast<unsigned char>(word[1])) == 0;
}

// Of an option as help shows it, such as "-j, --json[=pretty]" or "    --timeout SECONDS".
std::vector<std::string> names_of(const global_option& one)
{
    const std::string shown = one.shown;
    texts names;
    for (size_t at = shown.find('-'); at != std::string::npos; at = shown.find(" -", at)) {
        at = shown.find('-', at);
        const size_t end = std::min(shown.find_first_of(" ,[", at), shown.size());
        names.push_back(shown.substr(at, end - at));
        at = end;
    }
    return names;
}

std::vector<std::string> names_of_options()
{
    texts all;
    for (const global_option& one : global_options) {
        for (std::string& name : names_of(one))
            all.push_back(std::move(name));
    }
    return all;
}

std::vector<std::string> names_of_options(const command& what)
{
    texts names;
    for (const argument& one : what.arguments) {
        if (is_option(one.name))
            names.emplace_back(one.name);
    }
    return names;
}

void refuse_option(const std::string& word)
{
    if (is_of_a_command(word))
        refuse_usage(in_quotes(word) + " is an option of a command", "give it behind the words of the command");
    const std::string nearest = nearest_option(word, names_of_options());
    const std::string meant = nearest.empty() ? "" : "did you mean " + in_quotes(nearest) + "? ";
    refuse_usage("unknown option " + in_quotes(word), meant + "'utmctl help' lists the options");
}

void refuse_option(const std::string& word, const request& asked)
{
    refuse_usage(asked.words + ": unknown option " + in_quotes(word),
                 advice_on(word, *asked.what) + "'utmctl help " + asked.words + "' tells what it takes");
}

void refuse_pretty(const std::string& lead)
{
    refuse_usage(lead + in_quotes(pretty_style),
                 "did you mean " + in_quotes(pretty_json) + "? 'utmctl help' lists the options");
}
