#include "tools/utmctl/output.h"

#include "tools/utmctl/explanation.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <libsmartcols/libsmartcols.h>
#include <memory>
#include <unistd.h>

namespace {

std::string json_text(const std::string& command, const outcome& result, bool pretty)
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
    return value.dump(pretty ? 2 : -1, ' ', false, json::error_handler_t::replace) + "\n";
}

void fill(libscols_table* shown, const table& rows)
{
    for (const column& one : rows.columns)
        scols_table_new_column(shown, one.heading, 0, one.number ? SCOLS_FL_RIGHT : 0);
    for (const auto& row : rows.rows) {
        libscols_line* line = scols_table_new_line(shown, nullptr);
        for (size_t cell = 0; line != nullptr && cell < row.size(); ++cell)
            scols_line_set_data(line, cell, row[cell].c_str());
    }
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

std::string plain_text(const outcome& result, const output_style& style)
{
    return lines_text(result.lines) + (result.rows ? table_text(*result.rows, style.headers) : "") +
           (style.quiet ? "" : lines_text(result.confirmations));
}

// Why standard output could not be written; 0 when it was. A reader who went away has seen enough.
int write_out(const std::string& text)
{
    for (size_t done = 0; done < text.size();) {
        const ssize_t written = write(STDOUT_FILENO, text.data() + done, text.size() - done);
        if (written < 0 && errno != EINTR)
            return errno == EPIPE ? 0 : errno;
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

void print_problem(const problem& one)
{
    fprintf(stderr, "utmctl: %s\n", sentence_of(one).c_str());
}

} // namespace

exit_status print(const std::string& command, const outcome& result, const output_style& style)
{
    signal(SIGPIPE, SIG_IGN); // without a reader of the results the problems are told all the same
    const int error = write_out(style.json ? json_text(command, result, style.pretty) : plain_text(result, style));
    for (const problem& one : result.problems)
        print_problem(one);
    if (result.explanation && !style.json)
        fputs(lines_text(lines_of(*result.explanation)).c_str(), stderr);
    if (error == 0)
        return result.status;
    const problem unwritten = untold(result.status, error);
    print_problem(unwritten);
    return unwritten.status;
}
