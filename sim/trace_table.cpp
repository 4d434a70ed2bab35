#include "sim/failure.h"
#include "sim/trace.h"

#include <iterator>
#include <libsmartcols.h>
#include <memory>

namespace sim {

namespace {

constexpr size_t widest_value = 40; // one long text would widen every row; the trace itself has it whole

// Whole characters alone: a byte that begins with 10 goes on with the one before.
std::string shortened(std::string text)
{
    if (text.size() <= widest_value)
        return text;
    size_t end = widest_value;
    while ((text[end] & 0xc0) == 0x80)
        end--;
    return text.substr(0, end) + "...";
}

std::string value_text(const json& value)
{
    return value.is_string() && value != "" ? shortened(value.get<std::string>()) : value.dump();
}

// "id 7, mac 02:42:ac:11:00:05"
std::string pairs_text(const json& object)
{
    std::string text;
    for (const auto& [name, value] : object.items())
        text += (text.empty() ? "" : ", ") + name + " " + value_text(value);
    return text;
}

// The fields of a reply beside its status, and of a list's entries none.
json in_one_row(json answer)
{
    const json fields = answer.value("fields", json::object());
    answer.erase("fields");
    answer.erase("entries");
    answer.update(fields);
    return answer;
}

std::string cell(const json& line, const std::string& column)
{
    const json& value = line.at(column);
    if (column == "time")
        return value.get<std::string>().substr(11, 12);
    return value.is_object() ? pairs_text(column == "answer" ? in_one_row(value) : value) : value_text(value);
}

} // namespace

void print_trace(const std::vector<json>& lines)
{
    constexpr const char* columns[] = {"time", "daemon", "name", "fields", "answer"};
    constexpr const char* titles[] = {"TIME", "DAEMON", "CODE", "FIELDS", "ANSWER"};
    std::unique_ptr<libscols_table, decltype(&scols_unref_table)> table(scols_new_table(), scols_unref_table);
    if (!table)
        fail("cannot make a table");
    for (const char* title : titles)
        scols_table_new_column(table.get(), title, 0, 0);
    for (const json& line : lines) {
        libscols_line* row = scols_table_new_line(table.get(), nullptr);
        for (size_t column = 0; row != nullptr && column < std::size(columns); column++)
            scols_line_set_data(row, column, cell(line, columns[column]).c_str());
    }
    scols_print_table(table.get());
}

} // namespace sim
