#include "tools/utmctl/description.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/function_argument.h"

namespace {

constexpr argument arguments[] = {
    {"FUNCTION", occurs::at_most_once, check_function, "an exported function of the library"},
};

outcome describe_all()
{
    outcome all = {.result = json::array()};
    all.rows = {.columns = {{"FAMILY", false}, {"FUNCTION", false}, {"DOES", false}}, .rows = {}};
    for (const operations::function_family& family : operations::function_families()) {
        for (const operations::function_row& one : family.functions()) {
            all.result.push_back(description_of(family.name, one));
            all.rows->rows.push_back({family.name, std::string(one.name()), one.does});
        }
    }
    return all;
}

outcome describe_one(const operations::function_row& function)
{
    outcome one;
    one.result = description_of(operations::family_of(function).name, function);
    one.lines = description_lines(one.result);
    table layout = layout_of(one.result);
    if (!layout.rows.empty()) {
        one.lines.insert(one.lines.end(), {"", "Its records (the rest of a request is zero):"});
        one.rows = std::move(layout);
    }
    return one;
}

outcome describe(const request& asked)
{
    return asked.has("FUNCTION") ? describe_one(function_of(asked.one("FUNCTION"))) : describe_all();
}

constexpr command commands[] = {
    {"", arguments, describe, "tell all about a function of the library, or list the functions", nullptr,
     "describe utm_ips_activate"},
};

} // namespace

constinit const family describe_family = {"describe", "the functions of the library", commands};
