#include "tools/utmctl/function_argument.h"

#include "tools/utmctl/lookup.h"
#include "tools/utmctl/options.h"

#include <algorithm>
#include <cctype>

namespace {

std::vector<std::string> all_names()
{
    std::vector<std::string> names;
    for (const operations::function_family& family : operations::function_families()) {
        for (const operations::function_row& one : family.functions())
            names.emplace_back(one.name());
    }
    return names;
}

// In small letters, and without the brackets of a call.
std::string plain(std::string text)
{
    text.erase(std::min(text.find('('), text.size()));
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

// The function that may be meant by a text that is none, if any.
std::string meant_by(const std::string& text)
{
    const std::string name = plain(text);
    for (const std::string& one : {name, "utm_" + name}) {
        if (operations::find_function(one) != nullptr)
            return one;
    }
    const std::vector<std::string> names = all_names();
    const std::string nearest = nearest_word(name, names);
    return nearest.empty() ? nearest_word("utm_" + name, names) : nearest;
}

} // namespace

std::string check_function(const std::string& text)
{
    if (operations::find_function(text) != nullptr)
        return "";
    const std::string nearest = meant_by(text);
    return in_quotes(text) + " is not a function of the library; " +
           (nearest.empty() ? "" : "did you mean '" + nearest + "'? ") + "'utmctl describe' lists them";
}

void refuse_command_as_function(const std::vector<std::string>& arguments, const request& asked)
{
    std::vector<std::string> given;
    std::remove_copy_if(arguments.begin(), arguments.end(), std::back_inserter(given), is_option);
    for (const family* group : all_families()) {
        for (const command& one : group->commands) {
            const bool named = given.size() > (is_one_word(*group) ? 0U : 1U) && given[0] == group->word &&
                               (is_one_word(*group) || given[1] == one.word);
            if (named && !one.run.functions().empty())
                refuse_usage(asked.words + ": " + in_quotes(words_of(*group, one)) + " is a command",
                             "'utmctl help " + words_of(*group, one) + "' tells its functions");
        }
    }
}

const operations::function_row& function_of(const std::string& text)
{
    return *operations::find_function(text);
}
