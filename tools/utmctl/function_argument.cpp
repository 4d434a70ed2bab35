#include "tools/utmctl/function_argument.h"

#include "tools/utmctl/lookup.h"

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

const operations::function_row& function_of(const std::string& text)
{
    return *operations::find_function(text);
}
