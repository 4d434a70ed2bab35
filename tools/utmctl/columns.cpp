#include "tools/utmctl/columns.h"

#include <algorithm>
#include <sstream>
#include <strings.h>

namespace {

std::string list_of(const std::vector<column>& columns)
{
    std::string list;
    for (const column& one : columns)
        list.append(list.empty() ? "" : ", ").append(one.heading);
    return list;
}

size_t place_of(const table& all, const std::string& heading)
{
    const auto found = std::find_if(all.columns.begin(), all.columns.end(),
                                    [&](const column& one) { return strcasecmp(one.heading, heading.c_str()) == 0; });
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
        headings.push_back(heading);
    return headings;
}

std::string check_headings(const std::string& text)
{
    const std::vector<std::string> headings = headings_in(text);
    const bool gap = std::find(headings.begin(), headings.end(), "") != headings.end();
    return gap || text.empty() || text.ends_with(',') ? in_quotes(text) + " is not a list of headings such as ID,MAC"
                                                      : "";
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
