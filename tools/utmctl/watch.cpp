#include "operations/time.h"
#include "tools/utmctl/arguments.h"
#include "tools/utmctl/changes.h"
#include "tools/utmctl/colour.h"
#include "tools/utmctl/ending.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/json_table.h"
#include "tools/utmctl/number.h"
#include "tools/utmctl/readings.h"
#include "tools/utmctl/run_line.h"

#include <unistd.h>

// A command again and again, and what changes in its results.

namespace {

constexpr char its_help[] = "'utmctl help watch' tells what can be watched";

void check_watched(const command_line& line)
{
    const char* reason = hindrance_to_watch(line.asked.words);
    if (reason == nullptr && streams(line))
        reason = "goes on by itself";
    if (reason != nullptr)
        refuse_usage("watch: " + (streams(line) ? streaming_words(line) : line.asked.words) +
                         " cannot be watched: it " + reason,
                     its_help);
}

void check_words(const request& asked)
{
    const std::string& first = asked.all("COMMAND").front();
    if (first.find(' ') != std::string::npos)
        refuse_usage("watch: " + in_quotes(first) + " is one word",
                     "give the words of the command one by one, without quotes");
}

void check_ways(const request& watched)
{
    if (watched.dry_run)
        refuse_usage("watch: --dry-run has nothing to tell: what is watched changes nothing", "leave it out");
    if (watched.explain)
        refuse_usage("watch: --explain would tell the same after each run", "run the command itself with --explain");
}

// What needs a --yes is refused because it does not only read.
command_line parse_watched(const request& asked)
{
    check_words(asked);
    command_line line = {.style = asked.style,
                         .asked = {.given_timeout = asked.given_timeout,
                                   .wait = asked.wait,
                                   .yes = true,
                                   .dry_run = asked.dry_run,
                                   .explain = asked.explain}};
    parse(asked.all("COMMAND"), line);
    if (line.incomplete)
        throw failure(*line.incomplete);
    check_watched(line);
    check_ways(line.asked);
    return line;
}

class watcher {
public:
    explicit watcher(command_line line) : line_(std::move(line)) {}

    // False when nobody looks any more.
    bool look()
    {
        const outcome now = run_line(line_);
        const unbroken line_by_line;
        if (!last_)
            show_first(now);
        else
            show_changes(now);
        if (!has_failed(now))
            known_ = now.result;
        last_ = now;
        return out_.is_taken();
    }

    void tell_loss(outcome& told) const { out_.tell_loss(told); }

private:
    void show_first(const outcome& now)
    {
        if (line_.style.json) {
            json told = {{"time", operations::time_now(3)}};
            told.update(json_of(line_.asked.words, now));
            out_.print(told);
        } else {
            out_.print(text_of(now, line_.style));
        }
        for (const problem& one : now.problems)
            print_problem(one);
    }

    // What a run finds wrong is its result; one that failed has a problem to tell.
    static bool has_failed(const outcome& told) { return !told.problems.empty(); }

    // A run that failed tells nothing of what is watched, so that its results are not compared.
    void show_changes(const outcome& now)
    {
        const bool failed_now = has_failed(now);
        const bool failed_before = has_failed(*last_);
        if (failed_now && sentences_of(now) != sentences_of(*last_))
            show({"failed", "status", word_of(last_->status), word_of(now.status)}, now);
        if (!failed_now && failed_before)
            show({"recovered", "status", word_of(last_->status), word_of(now.status)}, now);
        if (failed_now)
            return;
        if (!known_) {
            show({"added", "result", {}, now.result}, now);
            return;
        }
        for (const change& one : changes_between("result", *known_, now.result))
            show(one, now);
    }

    static std::vector<std::string> sentences_of(const outcome& told)
    {
        std::vector<std::string> sentences;
        for (const problem& one : told.problems)
            sentences.push_back(sentence_of(one));
        return sentences;
    }

    void show(const change& one, const outcome& now)
    {
        if (line_.style.json)
            show_object(one, now);
        else
            show_line(one, now);
    }

    void show_object(const change& one, const outcome& now)
    {
        json errors = json::array();
        for (const problem& each : now.problems)
            errors.push_back(json_of(each));
        out_.print(json{{"time", operations::time_now(3)},
                        {"change", one.kind},
                        {"path", one.path},
                        {"before", one.before},
                        {"after", one.after},
                        {"errors", errors}});
    }

    void show_line(const change& one, const outcome& now)
    {
        std::string line =
            operations::time_now(3) + " " + coloured(one.kind, colour_of_word(one.kind), takes_colours(STDOUT_FILENO));
        line += " " + printable(one.path) + ": " + values_of(one);
        for (const std::string& sentence : sentences_of(now))
            line += ": " + sentence;
        out_.print(line + "\n");
    }

    static std::string values_of(const change& one)
    {
        if (one.before.is_null() != one.after.is_null() && one.kind != std::string("changed"))
            return printable(cell_of(one.before.is_null() ? one.after : one.before));
        return printable(cell_of(one.before)) + " -> " + printable(cell_of(one.after));
    }

    command_line line_;
    result_stream out_;
    std::optional<outcome> last_; // of the run before
    std::optional<json> known_;   // the result of the last run that did not fail
};

outcome run_watch(const request& asked)
{
    const double interval = asked.has("--interval") ? seconds_of(asked.one("--interval")) : 2;
    const uint64_t most = asked.has("--count") ? whole_of<uint64_t>(asked.one("--count")) : UINT64_MAX;
    watcher watched(parse_watched(asked));
    end_on_signals();
    for (uint64_t runs = 1; watched.look() && runs < most; ++runs)
        sleep_for(interval);
    outcome told = {.printed = true};
    watched.tell_loss(told);
    return told;
}

constexpr argument command_and_times[] = {
    {"COMMAND", occurs::command_line, nullptr,
     "a command that changes nothing, with its arguments: what is listed, counted or read, as by 'profile list', "
     "'devid "
     "devices', 'registry show', 'status' or 'doctor'"},
    {"--interval", occurs::at_most_once, check_seconds, "the time between two runs, 2 seconds without it", "SECONDS"},
    {"--count", occurs::at_most_once, check_whole<1, INT64_MAX>, "how many runs; without it, until a signal", "NUMBER"},
};

bool always(const request&)
{
    return true;
}

constexpr command commands[] = {
    {.word = "",
     .arguments = command_and_times,
     .run = run_watch,
     .help = "run a command again and again, and print what changes in its results",
     .example = "watch devid devices --interval 5",
     .streams = always},
};

} // namespace

constinit const family watch_family = {"watch", "a command that is run again and again", commands};
