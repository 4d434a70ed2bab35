#include "tools/utmctl/columns.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <sstream>

namespace {

std::string list_of(const std::vector<column>& columns)
{
    std::string list;
    for (const column& one : columns)
        list.append(list.empty() ? "" : ", ").append(one.heading);
    return list;
}

// A heading as it is compared: JSON has "cf_policy" where a table has CF-POLICY.
std::string normal(std::string heading)
{
    std::replace(heading.begin(), heading.end(), '_', '-');
    std::transform(heading.begin(), heading.end(), heading.begin(), [](unsigned char c) { return toupper(c); });
    return heading;
}

std::string without_blanks(const std::string& text)
{
    const size_t begin = text.find_first_not_of(' ');
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

size_t place_of(const table& all, const std::string& heading)
{
    const auto found = std::find_if(all.columns.begin(), all.columns.end(),
                                    [&](const column& one) { return normal(one.heading) == heading; });
    if (found == all.columns.end())
        refuse_usage("wrong option: --columns: there is no column " + in_quotes(heading),
                     "the table has " + list_of(all.columns));
    return static_cast<size_t>(found - all.columns.begin());
}

} // namespace

std::vector<std::string> headings_in(const std::string& text)
{
    std::vector<std::string> headings;
    std::istringstream stream(text);
    for (std::string heading; std::getline(stream, heading, ',');)
        headings.push_back(normal(without_blanks(heading)));
    return headings;
}

std::string check_headings(const std::string& text)
{
    const std::vector<std::string> headings = headings_in(text);
    const bool gap = std::find(headings.begin(), headings.end(), "") != headings.end();
    if (gap || text.empty() || text.ends_with(','))
        return in_quotes(text) + " is not a list of headings such as ID,MAC";
    const std::set<std::string> different(headings.begin(), headings.end());
    return different.size() < headings.size() ? in_quotes(text) + " has a heading twice" : "";
}

table with_columns(const table& all, const std::vector<std::string>& headings)
{
    table chosen;
    chosen.rows.resize(all.rows.size());
    for (const std::string& heading : headings) {
        const size_t place = place_of(all, heading);
        chosen.columns.push_back(all.columns[place]);
        for (size_t row = 0; row < all.rows.size(); ++row)
            chosen.rows[row].push_back(all.rows[row][place]);
    }
    return chosen;
}
