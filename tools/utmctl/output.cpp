#include "tools/utmctl/output.h"

#include "tools/utmctl/colour.h"
#include "tools/utmctl/explanation.h"
#include "tools/utmctl/json_text.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <libsmartcols/libsmartcols.h>
#include <memory>
#include <unistd.h>

namespace {

void fill_line(libscols_line* line, const std::vector<column>& columns, const std::vector<std::string>& row)
{
    for (size_t cell = 0; line != nullptr && cell < row.size(); ++cell) {
        scols_line_set_data(line, cell, row[cell].c_str());
        const colour shown = columns[cell].status ? colour_of_word(row[cell]) : colour::none;
        if (shown != colour::none)
            scols_cell_set_color(scols_line_get_cell(line, cell), sequence_of(shown));
    }
}

void fill(libscols_table* shown, const table& rows)
{
    for (const column& one : rows.columns) {
        libscols_column* added = scols_table_new_column(shown, one.heading, 0, one.number ? SCOLS_FL_RIGHT : 0);
        if (added != nullptr)
            scols_cell_set_color(scols_column_get_header(added), sequence_of(colour::heading));
    }
    for (const auto& row : rows.rows)
        fill_line(scols_table_new_line(shown, nullptr), rows.columns, row);
}

// An empty table has its headings too, so that it is seen to be empty.
std::string headings(const table& rows)
{
    std::string text;
    for (const column& one : rows.columns)
        text.append(text.empty() ? "" : " ").append(one.heading);
    return text + "\n";
}

std::string table_text(const table& rows, bool headers)
{
    if (rows.rows.empty())
        return headers ? headings(rows) : "";
    const std::unique_ptr<libscols_table, decltype(&scols_unref_table)> shown(scols_new_table(), scols_unref_table);
    scols_table_enable_noheadings(shown.get(), headers ? 0 : 1);
    scols_table_enable_colors(shown.get(), takes_colours(STDOUT_FILENO) ? 1 : 0);
    fill(shown.get(), rows);
    char* printed = nullptr;
    scols_print_table_to_string(shown.get(), &printed);
    const std::unique_ptr<char, decltype(&free)> text(printed, free);
    return text == nullptr ? "" : text.get() + std::string("\n");
}

std::string lines_text(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    return text;
}

// Why standard output could not be written; 0 when it was.
int write_out(const std::string& text)
{
    for (size_t done = 0; done < text.size();) {
        const ssize_t written = write(STDOUT_FILENO, text.data() + done, text.size() - done);
        if (written < 0 && errno != EINTR)
            return errno;
        done += written > 0 ? static_cast<size_t>(written) : 0;
    }
    return 0;
}

problem untold(exit_status status, int error)
{
    return {.status = status == exit_status::done ? exit_status::done_in_part : status,
            .what = "the results were not printed",
            .culprits = {{"standard output", "", std::string("cannot be written: ") + strerror(error)}},
            .next =
                std::string("the command itself ended with '") + word_of(status) + "', so do not just run it again"};
}

} // namespace

json json_of(const std::string& command, const outcome& result)
{
    json problems = json::array();
    for (const problem& one : result.problems)
        problems.push_back(json_of(one));
    json value = {{"command", command.empty() ? json() : json(command)},
                  {"status", word_of(result.status)},
                  {"exit", static_cast<int>(result.status)},
                  {"result", result.result},
                  {"errors", problems}};
    if (result.explanation)
        value["explanation"] = *result.explanation;
    return value;
}

std::string text_of(const outcome& result, const output_style& style)
{
    return lines_text(result.lines) + (result.rows ? table_text(*result.rows, style.headers) : "") +
           (style.quiet ? "" : lines_text(result.confirmations));
}

void print_notices(const outcome& result, const output_style& style)
{
    for (const std::string& one : result.notices) {
        if (!style.quiet)
            fprintf(stderr, "utmctl: %s\n", one.c_str());
    }
}

void print_problem(const problem& one, const std::string& place)
{
    const colour shown = colour_of_word(word_of(one.status));
    fprintf(stderr, "%s %s%s\n", coloured("utmctl:", shown, takes_colours(STDERR_FILENO)).c_str(),
            place.empty() ? "" : (place + ": ").c_str(), sentence_of(one).c_str());
}

result_stream::result_stream()
{
    signal(SIGPIPE, SIG_IGN); // without a reader of the results the problems are told all the same
}

void result_stream::print(const std::string& text)
{
    if (is_taken())
        error_ = write_out(text);
}

void result_stream::print(const json& value)
{
    print(json_text(value) + "\n");
}

void result_stream::tell_loss(outcome& told) const
{
    if (error_ == 0 || error_ == EPIPE)
        return;
    told.problems.push_back(untold(told.status, error_));
    told.status = told.problems.back().status;
}

exit_status print(const std::string& command, outcome result, const output_style& style)
{
    result_stream out;
    if (!result.printed && style.json)
        out.print(json_text(json_of(command, result), style.pretty ? 2 : -1) + "\n");
    else if (!result.printed)
        out.print(text_of(result, style));
    out.tell_loss(result);
    print_notices(result, style);
    for (const problem& one : result.problems)
        print_problem(one);
    if (result.explanation && !style.json)
        fputs(lines_text(lines_of(*result.explanation)).c_str(), stderr);
    return result.status;
}
