#include "tools/utmctl/output.h"

#include <cstdio>
#include <cstdlib>
#include <libsmartcols/libsmartcols.h>
#include <memory>

namespace {

// One JSON value, in one piece.
void print_json(const std::string& command, const outcome& result, bool pretty)
{
    json problems = json::array();
    for (const problem& one : result.problems)
        problems.push_back(json_of(one));
    const json value = {{"command", command.empty() ? json() : json(command)},
                        {"status", word_of(result.status)},
                        {"exit", static_cast<int>(result.status)},
                        {"result", result.result},
                        {"errors", problems}};
    const std::string text = value.dump(pretty ? 2 : -1, ' ', false, json::error_handler_t::replace) + "\n";
    fwrite(text.data(), 1, text.size(), stdout);
}

void fill(libscols_table* shown, const table& rows)
{
    for (const std::string& column : rows.columns)
        scols_table_new_column(shown, column.c_str(), 0, 0);
    for (const auto& row : rows.rows) {
        libscols_line* line = scols_table_new_line(shown, nullptr);
        for (size_t cell = 0; line != nullptr && cell < row.size(); ++cell)
            scols_line_set_data(line, cell, row[cell].c_str());
    }
}

void print_table(const table& rows, bool headers)
{
    const std::unique_ptr<libscols_table, decltype(&scols_unref_table)> shown(scols_new_table(), scols_unref_table);
    scols_table_enable_noheadings(shown.get(), headers ? 0 : 1);
    fill(shown.get(), rows);
    if (rows.rows.empty() && headers) {
        // An empty table has its headings too, so that it is seen to be empty.
        for (const std::string& column : rows.columns)
            printf("%s%s", column.c_str(), &column == &rows.columns.back() ? "\n" : " ");
        return;
    }
    scols_print_table(shown.get());
}

void print_lines(const std::vector<std::string>& lines)
{
    for (const std::string& line : lines)
        puts(line.c_str());
}

void print_text(const outcome& result, const output_style& style)
{
    print_lines(result.lines);
    if (result.rows)
        print_table(*result.rows, style.headers);
    if (!style.quiet)
        print_lines(result.confirmations);
}

} // namespace

void print(const std::string& command, const outcome& result, const output_style& style)
{
    if (style.json)
        print_json(command, result, style.pretty);
    else
        print_text(result, style);
    fflush(stdout);
    for (const problem& one : result.problems)
        fprintf(stderr, "utmctl: %s\n", sentence_of(one).c_str());
}
