#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/paths.h"
#include "tests/sandbox/registry.h"
#include "tests/sandbox/terminal.h"
#include "tests/utmctl/run.h"
#include "tests/utmctl/stopped_lock_holder.h"

#include <fcntl.h>
#include <gtest/gtest.h>

namespace {

constexpr char file[] = "/tmp/commands";

run_result batch(const std::string& commands, const std::string& options = "")
{
    write_file(file, commands);
    return utmctl("batch -f /tmp/commands " + options);
}

// What a line that was done prints.
std::string done_at(int line, const std::string& command, const std::string& result)
{
    return R"({"line":)" + std::to_string(line) + "," + done_line(command, result).substr(1);
}

struct failure {
    int line;
    std::string command; // none: it is not known
    std::string status;
    int exit;
    std::string result = "null";
    std::string what;
    std::string cause; // what the ID registry did, if it has to do with it
    std::string next;
};

// What a line that failed prints.
std::string failed_at(const failure& one)
{
    const std::string command = one.command.empty() ? "null" : "\"" + one.command + "\"";
    const std::string culprit =
        one.cause.empty() ? "" : R"({"name":"the ID registry","path":null,"cause":")" + one.cause + "\"}";
    const std::string because = one.cause.empty() ? "" : ": the ID registry " + one.cause;
    return R"({"line":)" + std::to_string(one.line) + R"(,"command":)" + command + R"(,"status":")" + one.status +
           R"(","exit":)" + std::to_string(one.exit) + R"(,"result":)" + one.result + R"(,"errors":[{"status":")" +
           one.status + R"(","message":")" + one.what + because + "; " + one.next + R"(","what":")" + one.what +
           R"(","culprits":[)" + culprit + R"(],"next":")" + one.next + "\"}]}\n";
}

const std::string eight_unknown = failed_at({.line = 5,
                                             .command = "registry check",
                                             .status = "unknown-identifier",
                                             .exit = 6,
                                             .result = R"({"kind":"profile","id":8,"registered":false})",
                                             .what = "profile 8 is not registered",
                                             .cause = "does not hold it",
                                             .next = "'utmctl registry show' tells what it holds"});

constexpr char day[] = "# the day begins\n"
                       "registry reserve profile 7 # the first\r\n"
                       "  registry check profile 7\n"
                       "\n"
                       "registry check profile 8\n"
                       "registry reserve profile 7\n"
                       "registry check profile 7\n";

const std::string before_eight = done_at(2, "registry reserve", R"({"kind":"profile","id":7})") +
                                 done_at(3, "registry check", R"({"kind":"profile","id":7,"registered":true})");

constexpr char eight_told[] = "utmctl: line 5: profile 8 is not registered: the ID registry does not hold it; "
                              "'utmctl registry show' tells what it holds\n";

TEST(batch, the_first_failure_ends_it)
{
    EXPECT_EQ(batch(day), (run_result{6, before_eight + eight_unknown,
                                      std::string(eight_told) +
                                          "utmctl: the batch ended with line 5, and 2 more commands were not run; "
                                          "--keep-going runs all commands, even when one fails\n"}));
}

TEST(batch, it_keeps_going_where_that_is_wanted)
{
    const std::string taken = failed_at({.line = 6,
                                         .command = "registry reserve",
                                         .status = "refused",
                                         .exit = 1,
                                         .what = "profile 7 was not reserved",
                                         .cause = "holds it already",
                                         .next = "choose another identifier, or none to get one from the clock"});
    EXPECT_EQ(batch(day, "--keep-going"),
              (run_result{6,
                          before_eight + eight_unknown + taken +
                              done_at(7, "registry check", R"({"kind":"profile","id":7,"registered":true})"),
                          std::string(eight_told) +
                              "utmctl: line 6: profile 7 was not reserved: the ID registry holds it already; choose "
                              "another identifier, or none to get one from the clock\n"}));
}

TEST(batch, a_failure_in_the_last_line_leaves_nothing_out)
{
    EXPECT_EQ(batch("\n\n\n\nregistry check profile 8"), (run_result{6, eight_unknown, eight_told}));
}

TEST(batch, an_empty_file_is_done)
{
    EXPECT_EQ(batch("# nothing\n\n \t\n"), (run_result{0, "", "utmctl: the batch holds no commands\n"}));
    EXPECT_EQ(batch("", "-q"), (run_result{0, "", ""}));
}

TEST(batch, wrong_lines_are_refused_before_anything_is_run)
{
    const run_result result = batch("registry reserve profile 7\n"
                                    "registry cheek profile 7\n"
                                    "registry\n"
                                    "registry reserve profile x\n"
                                    "registry clear\n"
                                    "uuid set 'two words\n"
                                    "uuid set \\\n"
                                    "uuid set \x1b\n"
                                    "batch -f other\n"
                                    "watch registry show\n"
                                    "log -f\n"
                                    "--timeout 0 registry show\n"
                                    "utmctl registry show\n");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err,
              "utmctl: line 2: unknown command 'registry cheek'; did you mean 'registry check'? 'utmctl help registry' "
              "lists the commands\n"
              "utmctl: line 3: incomplete command 'registry'; 'utmctl help registry' lists its commands\n"
              "utmctl: line 4: registry reserve: ID: 'x' is not an identifier, a whole number from 1 to 2147483647, or "
              "0 for one from the clock; 'utmctl help registry reserve' tells what it takes\n"
              "utmctl: line 5: registry clear was not carried out: it destroys every identifier and binding; add "
              "--yes if that is what you want\n"
              "utmctl: line 6: the line cannot be taken apart: a single quote is not closed; see 'utmctl help batch'\n"
              "utmctl: line 7: the line cannot be taken apart: it ends with a backslash; see 'utmctl help batch'\n"
              "utmctl: line 8: the line cannot be taken apart: it has control characters; see 'utmctl help batch'\n"
              "utmctl: line 9: batch has no place in a batch; 'utmctl help batch' tells what a line may hold\n"
              "utmctl: line 10: watch has no place in a batch; 'utmctl help batch' tells what a line may hold\n"
              "utmctl: line 11: log -f has no place in a batch; 'utmctl help batch' tells what a line may hold\n"
              "utmctl: line 12: wrong option: --timeout: '0' is not a number of seconds above 0 and up to 86400; "
              "'utmctl help' lists the options\n"
              "utmctl: line 13: 'utmctl' is no command; lines stand without the word utmctl\n"
              "utmctl: the batch was not run: 12 lines are wrong; put them right, or give --yes to the batch, then run "
              "it again\n");
    EXPECT_TRUE(result.out.starts_with(
        failed_at({.line = 2,
                   .command = "registry",
                   .status = "usage",
                   .exit = 2,
                   .what = "unknown command 'registry cheek'",
                   .next = "did you mean 'registry check'? 'utmctl help registry' lists the commands"})))
        << result.out;
    EXPECT_NE(result.out.find(failed_at({.line = 6,
                                         .status = "usage",
                                         .exit = 2,
                                         .what = "the line cannot be taken apart: a single quote is not closed",
                                         .next = "see 'utmctl help batch'"})),
              std::string::npos)
        << result.out;
    EXPECT_EQ(all_slots()[0], 0U);
}

TEST(batch, words_are_quoted_as_in_a_shell)
{
    const std::pair<const char*, const char*> words[] = {
        {R"('two  words')", "two  words"},
        {R"("it's $HOME")", "it's $HOME"},
        {R"("a \"b\" \\ \n")", R"(a \"b\" \\ \\n)"},
        {R"(a\ b\#c\')", "a b#c'"},
        {R"(x'y'"z"#)", "xyz#"},
        {R"('\')", R"(\\)"},
        {R"("#" # comment)", "#"},
    };
    for (const auto& [given, taken] : words)
        EXPECT_EQ(batch(std::string("uuid set ") + given + "\n"),
                  (run_result{0, done_at(1, "uuid set", std::string(R"({"uuid":")") + taken + "\"}"), ""}))
            << given;
}

TEST(batch, options_of_the_batch_hold_for_each_line)
{
    register_ids({{0, 7}});
    const stopped_lock_holder holder;
    const run_result result =
        batch("registry check profile 7\n--timeout 0.2 registry check profile 8\n", "--keep-going --timeout 0.1");
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, "utmctl: line 1: profile 7 was not looked up: " + holder.told_within("0.1") +
                              "utmctl: line 2: profile 8 was not looked up: " + holder.told_within("0.2"));
}

TEST(batch, its_yes_holds_for_each_line)
{
    register_ids({{0, 7}});
    EXPECT_EQ(batch("registry clear\n").status, 9);
    EXPECT_EQ(all_slots()[0], 7U);
    EXPECT_EQ(batch("registry clear\n", "--yes"),
              (run_result{0, done_at(1, "registry clear", R"({"cleared":true})"), ""}));
    EXPECT_EQ(all_slots()[0], 0U);
}

constexpr char rehearsed_apart[] =
    "utmctl: each line was rehearsed by itself, as though those before it had not been run\n";

TEST(batch, it_can_be_rehearsed)
{
    const run_result result = batch("registry reserve profile 7\nregistry clear\n", "--dry-run");
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.out.starts_with(
        R"({"line":1,"command":"registry reserve","status":"done","exit":0,"result":{"dry_run":true,"steps":[)"))
        << result;
    EXPECT_EQ(result.err, rehearsed_apart);
    EXPECT_EQ(batch("registry clear\n", "--dry-run -q").err, "");
    EXPECT_FALSE(exists(registry_marker));
}

TEST(batch, a_rehearsal_goes_on_to_the_last_line)
{
    const run_result result = batch("registry check profile 8\nregistry show\n", "--dry-run");
    EXPECT_EQ(result.status, 6);
    EXPECT_EQ(line_count(result.out), 2) << result;
    EXPECT_EQ(result.err, std::string("utmctl: line 1: profile 8 is not registered: the ID registry does not hold it; "
                                      "'utmctl registry show' tells what it holds\n") +
                              rehearsed_apart);
}

TEST(batch, an_object_stays_on_its_line_even_where_it_should_be_pretty)
{
    EXPECT_EQ(batch("registry reserve profile 7\n", "--json=pretty"),
              (run_result{0, done_at(1, "registry reserve", R"({"kind":"profile","id":7})"), ""}));
}

// Runs it with the text as its standard input.
run_result batch_of_input(const std::string& commands)
{
    write_file(file, commands);
    const int input = open(file, O_RDONLY | O_CLOEXEC);
    const int kept = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3);
    dup2(input, STDIN_FILENO);
    close(input);
    const run_result result = utmctl("batch -f -");
    dup2(kept, STDIN_FILENO);
    close(kept);
    return result;
}

TEST(batch, commands_come_from_standard_input)
{
    EXPECT_EQ(batch_of_input("registry reserve profile 7\n"),
              (run_result{0, done_at(1, "registry reserve", R"({"kind":"profile","id":7})"), ""}));
    const run_result twice = batch_of_input("cf add-trusted-url -f -\n");
    EXPECT_EQ(twice.status, 2);
    EXPECT_EQ(twice.err, "utmctl: line 1: cf add-trusted-url: standard input is the batch itself; 'utmctl help batch' "
                         "tells what a line may hold\n"
                         "utmctl: the batch was not run: line 1 is wrong; put it right, then run it again\n");
}

TEST(batch, a_file_that_cannot_be_read_is_told)
{
    EXPECT_EQ(utmctl("batch -f /tmp/none"),
              refused(2, "the batch was not run: the file (/tmp/none) cannot be read: No such file or directory; name "
                         "a file that can be read, or - for standard input\n"));
}

TEST(batch, a_terminal_shows_how_far_it_is)
{
    write_file(file, "registry reserve profile 7\nregistry reserve profile 8\n");
    terminal one({"env", "TERM=xterm", KQUTM_UTMCTL, "batch", "-f", file});
    EXPECT_EQ(one.status(), 0);
    EXPECT_EQ(one.screen(), R"({"line":1,"command":"registry reserve","status":"done","exit":0,)"
                            R"("result":{"kind":"profile","id":7},"errors":[]})"
                            "\r\n\r\033[K1 of 2\r\033[K"
                            R"({"line":2,"command":"registry reserve","status":"done","exit":0,)"
                            R"("result":{"kind":"profile","id":8},"errors":[]})"
                            "\r\n");
}

} // namespace
