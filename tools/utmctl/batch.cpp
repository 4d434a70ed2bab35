#include "tools/utmctl/families.h"
#include "tools/utmctl/progress.h"
#include "tools/utmctl/run_line.h"
#include "tools/utmctl/shell_words.h"
#include "tools/utmctl/text_file.h"
#include "tools/utmctl/text_list.h"

#include <algorithm>
#include <sstream>

// Many commands in one go.

namespace {

struct batch_line {
    size_t number; // in the file
    command_line line;
    std::optional<outcome> wrong = {}; // what a line that cannot be run comes to
};

const std::string& file_of(const request& asked)
{
    return asked.one("-f");
}

std::string name_of(const batch_line& one)
{
    return "line " + std::to_string(one.number);
}

// What a line may not hold, though it is right in itself.
void check_nesting(const command_line& line, const request& batch)
{
    const std::string next = "'utmctl help batch' tells what a line may hold";
    if (line.what == nullptr)
        return;
    if (streams(line))
        refuse_usage(streaming_words(line) + " has no place in a batch", next);
    const auto texts = line.asked.values.find(texts_from_file.name);
    if (file_of(batch) == "-" && texts != line.asked.values.end() && texts->second == std::vector<std::string>{"-"})
        refuse_usage(line.asked.words + ": standard input is the batch itself", next);
}

void parse_words(batch_line& one, const shell_words& found, const request& batch)
{
    if (!found.wrong.empty())
        refuse_usage("the line cannot be taken apart: " + found.wrong, "see 'utmctl help batch'");
    if (found.words.front() == "utmctl")
        refuse_usage("'utmctl' is no command", "lines stand without the word utmctl");
    parse(found.words, one.line);
    if (one.line.incomplete)
        throw failure(*one.line.incomplete);
    check_nesting(one.line, batch);
}

// The global options of the batch hold for each line.
batch_line parse_line(size_t number, const shell_words& found, const request& batch)
{
    batch_line one = {.number = number,
                      .line = {.style = batch.style,
                               .asked = {.given_timeout = batch.given_timeout,
                                         .wait = batch.wait,
                                         .yes = batch.yes,
                                         .dry_run = batch.dry_run,
                                         .explain = batch.explain}}};
    try {
        parse_words(one, found, batch);
    } catch (const failure& cause) {
        one.wrong = failed(cause);
    }
    return one;
}

std::vector<batch_line> read_lines(const request& batch)
{
    std::istringstream stream(content_of_file(file_of(batch), "the batch was not run"));
    std::vector<batch_line> lines;
    size_t number = 0;
    for (std::string text; std::getline(stream, text);) {
        ++number;
        if (text.ends_with('\r'))
            text.pop_back();
        const shell_words found = words_in(text);
        if (!found.words.empty() || !found.wrong.empty())
            lines.push_back(parse_line(number, found, batch));
    }
    return lines;
}

void print_outcome(result_stream& out, const batch_line& one, const outcome& result)
{
    json told = {{"line", one.number}};
    told.update(json_of(command_of(one.line), result));
    out.print(told);
    for (const problem& each : result.problems)
        print_problem(each, name_of(one));
}

// The first failure decides.
void count(outcome& sum, const outcome& result)
{
    if (sum.status == exit_status::done)
        sum.status = result.status;
}

// A line without a --yes is right in itself.
std::string next_without(const std::vector<const batch_line*>& wrong)
{
    const bool unsafe = std::any_of(wrong.begin(), wrong.end(),
                                    [](const batch_line* one) { return one->wrong->status == exit_status::unsafe; });
    return std::string("put ") + (wrong.size() == 1 ? "it" : "them") + " right" +
           (unsafe ? ", or give --yes to the batch" : "") + ", then run it again";
}

problem not_run(const std::vector<const batch_line*>& wrong, exit_status status)
{
    const culprit one = {name_of(*wrong.front()), "", "is wrong"};
    const culprit several = {std::to_string(wrong.size()) + " lines", "", "are wrong"};
    return {.status = status,
            .what = "the batch was not run",
            .culprits = {wrong.size() == 1 ? one : several},
            .next = next_without(wrong)};
}

outcome refuse_lines(const std::vector<batch_line>& lines, result_stream& out)
{
    outcome sum = {.printed = true};
    std::vector<const batch_line*> wrong;
    for (const batch_line& one : lines) {
        if (!one.wrong)
            continue;
        print_outcome(out, one, *one.wrong);
        count(sum, *one.wrong);
        wrong.push_back(&one);
    }
    if (!wrong.empty())
        sum.problems.push_back(not_run(wrong, sum.status));
    return sum;
}

problem stopped(const batch_line& at, exit_status status, size_t left)
{
    return {.status = status,
            .what = "the batch ended with " + name_of(at) + ", and " + std::to_string(left) + " more " +
                    (left == 1 ? "command was" : "commands were") + " not run",
            .culprits = {},
            .next = "--keep-going runs all commands, even when one fails"};
}

outcome run_lines(const std::vector<batch_line>& lines, bool keep_going, result_stream& out)
{
    outcome sum = {.printed = true};
    progress shown(lines.size());
    for (size_t done = 0; done < lines.size(); ++done) {
        shown.show(done);
        const outcome result = run_line(lines[done].line);
        shown.hide();
        print_outcome(out, lines[done], result);
        count(sum, result);
        const size_t left = lines.size() - done - 1;
        if (result.status != exit_status::done && !keep_going && left > 0) {
            sum.problems.push_back(stopped(lines[done], sum.status, left));
            break;
        }
    }
    return sum;
}

constexpr char rehearsed_apart[] = "each line was rehearsed by itself, as though those before it had not been run";

// A rehearsal tells of all lines.
outcome run_batch(const request& asked)
{
    const std::vector<batch_line> lines = read_lines(asked);
    if (lines.empty())
        return {.notices = {"the batch holds no commands"}, .printed = true};
    result_stream out;
    outcome sum = refuse_lines(lines, out);
    if (sum.status == exit_status::done) {
        sum = run_lines(lines, asked.has("--keep-going") || asked.dry_run, out);
        if (asked.dry_run)
            sum.notices.emplace_back(rehearsed_apart);
    }
    out.tell_loss(sum);
    return sum;
}

constexpr argument file_and_ways[] = {
    {"-f", occurs::once, check_file_name,
     "a file with one command a line, - is standard input; quotes and backslashes as in a shell, # starts a comment",
     "FILE"},
    {"--keep-going", occurs::flag, nullptr,
     "run all commands even when one fails; a line that is wrong still keeps the batch from starting"},
};

bool always(const request&)
{
    return true;
}

constexpr command commands[] = {
    {.word = "",
     .arguments = file_and_ways,
     .run = run_batch,
     .help = "run the commands of a file, and print one JSON object a line for each",
     .example = "batch -f commands.txt --keep-going",
     .streams = always},
};

} // namespace

constinit const family batch_family = {"batch", "many commands in one go", commands};
