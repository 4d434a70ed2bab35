#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/registry.h"
#include "tests/utmctl/engines.h"
#include "tests/utmctl/run.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <gtest/gtest.h>
#include <regex>
#include <unistd.h>

namespace {

std::string without_times(const std::string& text)
{
    static const std::regex time(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z)");
    return std::regex_replace(text, time, "TIME");
}

// A watch in the background, whose lines come when they come.
class running_watch {
public:
    explicit running_watch(const std::string& line) : watch_("watch --interval 0.01 " + line, out_.fd()) {}

    // Waits until so many lines were printed, and returns them.
    std::string lines(ptrdiff_t count) const { return without_times(out_.lines(count)); }

    // Ends it with a signal, and returns what was printed on standard error.
    run_result end(int signal)
    {
        kill(watch_.process(), signal);
        run_result result = watch_.wait();
        result.out = without_times(out_.text());
        return result;
    }

private:
    captured out_;
    running_utmctl watch_;
};

TEST(watch, it_prints_the_first_result_and_then_what_changes)
{
    register_ids({{0, 7}, {1, 8}});
    running_watch watch("profile list");
    const std::string first = "ID CF-POLICY APP-POLICY\n 7         -          -\n 8         -          -\n";
    EXPECT_EQ(watch.lines(3), first);
    set_slots({{256, 70}});
    const std::string bound = "TIME changed result[7].cf_policy: - -> 70\n";
    EXPECT_EQ(watch.lines(4), first + bound);
    set_slots({{1, 0}, {2, 9}});
    const std::string replaced = R"(TIME removed result[8]: {"slot":1,"id":8,"cf_policy":null,"app_policy":null})"
                                 "\n"
                                 R"(TIME added result[9]: {"slot":2,"id":9,"cf_policy":null,"app_policy":null})"
                                 "\n";
    EXPECT_EQ(watch.lines(6), first + bound + replaced);
    EXPECT_EQ(watch.end(SIGINT), (run_result{0, first + bound + replaced, ""}));
}

TEST(watch, each_change_is_an_object_on_a_line_in_json)
{
    register_ids({{0, 7}});
    running_watch watch("--json=pretty registry check profile 8");
    const std::string problem =
        R"({"status":"unknown-identifier","message":"profile 8 is not registered: the ID registry does not hold it; )"
        R"('utmctl registry show' tells what it holds","what":"profile 8 is not registered","culprits":[{"name":)"
        R"("the ID registry","path":null,"cause":"does not hold it"}],"next":"'utmctl registry show' tells what it )"
        R"(holds"})";
    const std::string first =
        R"({"time":"TIME","command":"registry check","status":"unknown-identifier","exit":6,"result":)"
        R"({"kind":"profile","id":8,"registered":false},"errors":[)" +
        problem + "]}\n";
    EXPECT_EQ(watch.lines(1), first);
    set_slots({{1, 8}});
    const std::string recovered =
        R"({"time":"TIME","change":"recovered","path":"status","before":"unknown-identifier","after":"done","errors":[]})"
        "\n"
        R"({"time":"TIME","change":"added","path":"result","before":null,"after":)"
        R"({"kind":"profile","id":8,"registered":true},"errors":[]})"
        "\n";
    EXPECT_EQ(watch.lines(3), first + recovered);
    set_slots({{1, 0}});
    const std::string failed =
        R"({"time":"TIME","change":"failed","path":"status","before":"done","after":"unknown-identifier","errors":[)" +
        problem + "]}\n";
    EXPECT_EQ(watch.lines(4), first + recovered + failed);
    EXPECT_EQ(watch.end(SIGTERM), (run_result{0, first + recovered + failed,
                                              "utmctl: profile 8 is not registered: the ID registry does not hold it; "
                                              "'utmctl registry show' tells what it holds\n"}));
}

TEST(watch, what_is_found_is_a_result)
{
    const config_daemons daemons;
    register_ids({{0, 7}});
    running_watch watch("registry audit --timeout 30");
    const std::string first = "nothing wrong\n";
    EXPECT_EQ(watch.lines(1), first);
    set_slots({{1, 0x80000000}});
    const std::string found =
        R"( result[warning]: {"severity":"warning","what":"profile 2147483648 in slot 1 is above 2147483647, and )"
        R"(reads as a failure where it is returned","remedy":"have the program that reserved it take a smaller one; )"
        R"('utmctl registry release profile 2147483648' frees it"})"
        "\n";
    EXPECT_EQ(watch.lines(2), first + "TIME added" + found);
    set_slots({{1, 0}});
    const std::string all = first + "TIME added" + found + "TIME removed" + found;
    EXPECT_EQ(watch.lines(3), all);
    EXPECT_EQ(watch.end(SIGTERM), (run_result{0, all, ""}));
}

TEST(watch, it_survives_a_run_that_fails)
{
    std::atomic<int> runs = 0;
    std::atomic<int> phase = 0; // whole, broken, and whole again with another word
    const engine_daemon daemon(ips, {sim::receive(), [&](const sim::conversation& client) {
                                         sim::bytes status = reply_of(ips, 0);
                                         put_u32(status, 4, phase == 0 ? 4 : 5);
                                         if (phase != 1)
                                             client.send(status);
                                         ++runs;
                                     }});
    running_watch watch("-q --columns WORD ips status");
    const std::string first = watch.lines(80);
    phase = 1;
    const std::string failed =
        "TIME failed status: done -> protocol-error: the status of the IPS engine was not read: the IPS daemon "
        "(/tmp/utm_ips) ended the connection without an answer; find out why the IPS daemon breaks off, or start "
        "it again, then run the command again\n";
    EXPECT_EQ(watch.lines(81), first + failed);
    for (const int now = runs; runs < now + 3;) // it is told once
        usleep(1000);
    phase = 2;
    const std::string back = "TIME recovered status: protocol-error -> done\n"
                             "TIME changed result.words[1]: 4 -> 5\n";
    EXPECT_EQ(watch.lines(83), first + failed + back);
    EXPECT_EQ(watch.end(SIGINT), (run_result{0, first + failed + back, ""}));
}

// Sends these rules, as customized ones.
void send_rules(const sim::conversation& client, const std::vector<std::string>& names)
{
    for (const std::string& name : names) {
        sim::bytes record = reply_of(ips, 1);
        std::fill_n(record.begin() + 31, 21, uint8_t{0});
        put_text(record, 31, name);
        client.send(record);
    }
    client.send(reply_of(ips, 0));
}

struct list_change {
    std::vector<std::string> before;
    std::vector<std::string> after;
    std::string told;
    ptrdiff_t lines;
};

const std::vector<list_change>& list_changes()
{
    static const std::vector<list_change> all = {
        {{"a", "b"},
         {"c", "b"},
         "TIME removed result.entries[a]: {\"name\":\"a\"}\nTIME added result.entries[c]: {\"name\":\"c\"}\n",
         2},
        {{"a", "b", "b"},
         {"b", "c"},
         "TIME removed result.entries: {\"name\":\"a\"}\nTIME removed result.entries: {\"name\":\"b\"}\n"
         "TIME added result.entries: {\"name\":\"c\"}\n",
         3},
        {{"b", "b"}, {"b", "c"}, "TIME changed result.entries[1].name: b -> c\n", 1},
        {{}, {"a"}, "TIME added result.entries[a]: {\"name\":\"a\"}\n", 1},
    };
    return all;
}

TEST(watch, entries_are_known_by_their_first_member_their_place_or_all_they_are)
{
    for (const list_change& one : list_changes()) {
        std::atomic<bool> later = false;
        const engine_daemon daemon(
            ips, {sim::receive(),
                  [&](const sim::conversation& client) { send_rules(client, later ? one.after : one.before); },
                  sim::await_close()});
        running_watch watch("ips rules");
        const auto first_lines = static_cast<ptrdiff_t>(one.before.size()) + 1;
        const std::string first = watch.lines(first_lines);
        later = true;
        EXPECT_EQ(watch.lines(first_lines + one.lines), first + one.told);
        watch.end(SIGTERM);
    }
}

TEST(watch, it_ends_after_so_many_runs)
{
    register_ids({{0, 7}});
    EXPECT_EQ(utmctl("watch --count 3 --interval 0.001 --no-headers profile list"),
              (run_result{0, " 7         -          -\n", ""}));
}

TEST(watch, options_of_the_command_are_its_own)
{
    const engine_daemon daemon(devid, answer_with(reply_of(devid, minus_one)));
    EXPECT_EQ(utmctl("watch devid devices --mac 02:42:ac:11:00:05 --count 1"),
              (run_result{0, "MAC IP INTERFACE NAME TYPE KIND\n", ""}));
}

TEST(watch, only_what_reads_is_watched)
{
    const std::string help = "; 'utmctl help watch' tells what can be watched\n";
    EXPECT_EQ(utmctl("watch profile create 7"),
              refused(2, "watch: profile create cannot be watched: it changes something" + help));
    EXPECT_EQ(utmctl("watch profile flush"),
              refused(2, "watch: profile flush cannot be watched: it changes something" + help));
    EXPECT_EQ(utmctl("watch watch profile list"),
              refused(2, "watch: watch cannot be watched: it goes on by itself" + help));
    EXPECT_EQ(utmctl("watch log -f"), refused(2, "watch: log -f cannot be watched: it goes on by itself" + help));
    EXPECT_EQ(utmctl("watch batch -f /tmp/none"),
              refused(2, "watch: batch cannot be watched: it runs other commands" + help));
    EXPECT_EQ(utmctl("watch wait cf"), refused(2, "watch: wait cannot be watched: it waits by itself" + help));
    for (const char* still : {"help", "describe", "explain", "version"})
        EXPECT_EQ(
            utmctl("watch " + std::string(still)),
            refused(2, std::string("watch: ") + still + " cannot be watched: it tells the same each time" + help));
    EXPECT_EQ(utmctl("watch 'profile list'"),
              refused(2, "watch: 'profile list' is one word; give the words of the command one by one, without "
                         "quotes\n"));
    EXPECT_EQ(utmctl("--dry-run watch profile list"),
              refused(2, "watch: --dry-run has nothing to tell: what is watched changes nothing; leave it out\n"));
    EXPECT_EQ(utmctl("--explain watch profile list"),
              refused(2, "watch: --explain would tell the same after each run; run the command itself with "
                         "--explain\n"));
    EXPECT_EQ(utmctl("watch -- profile list --explain").status, 2);
    EXPECT_EQ(utmctl("watch profile"),
              refused(2, "incomplete command 'profile'; 'utmctl help profile' lists its commands\n"));
    EXPECT_EQ(utmctl("watch"), refused(2, "watch: COMMAND is required; 'utmctl help watch' tells what it takes\n"));
    EXPECT_EQ(utmctl("watch profile list --count 0"),
              refused(2, "watch: --count: '0' is not a whole number from 1 to 9223372036854775807; 'utmctl help "
                         "watch' tells what it takes\n"));
}

} // namespace
