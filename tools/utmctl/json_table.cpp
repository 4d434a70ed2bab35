#include "tools/utmctl/json_table.h"

#include "tools/utmctl/json_text.h"

std::string cell_of(const json& value)
{
    if (value.is_null())
        return "-";
    if (!value.is_string())
        return json_text(value);
    const std::string& text = value.get_ref<const std::string&>();
    return text.empty() ? "-" : text;
}

table table_of(const json& list, std::span<const shown_member> members)
{
    table shown;
    for (const shown_member& one : members)
        shown.columns.push_back(one.shown);
    for (const json& entry : list) {
        auto& row = shown.rows.emplace_back();
        for (const shown_member& one : members)
            row.push_back(cell_of(entry.at(one.name)));
    }
    return shown;
}
