#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/registry.h"
#include "tests/sandbox/terminal.h"
#include "tests/utmctl/run.h"

#include <fcntl.h>
#include <gtest/gtest.h>

// The options that any command takes.

namespace {

TEST(options, columns_are_chosen_and_put_in_order)
{
    register_ids({{0, 7}, {256, 70}, {1, 8}});
    EXPECT_EQ(utmctl("--columns cf-policy,ID profile list"), (run_result{0,
                                                                         "CF-POLICY ID\n"
                                                                         "       70  7\n"
                                                                         "        -  8\n",
                                                                         ""}));
    EXPECT_EQ(utmctl("--columns 'cf_policy , id' profile list"), utmctl("--columns CF-POLICY,ID profile list"));
    EXPECT_EQ(utmctl("--columns ID,id profile list"),
              refused(2, "wrong option: --columns: 'ID,id' has a heading twice; 'utmctl help' lists the options\n"));
    EXPECT_EQ(utmctl("profile list --columns ID --no-headers"), (run_result{0, " 7\n 8\n", ""}));
}

TEST(options, columns_of_an_empty_table)
{
    register_ids({});
    EXPECT_EQ(utmctl("--columns APP-POLICY,ID profile list"), (run_result{0, "APP-POLICY ID\n", ""}));
}

TEST(options, a_column_that_is_not_there_is_refused)
{
    register_ids({{0, 7}});
    EXPECT_EQ(utmctl("--columns ID,MAC profile list"),
              refused(2, "wrong option: --columns: there is no column 'MAC'; the table has ID, CF-POLICY, "
                         "APP-POLICY\n"));
    for (const std::string wrong : {"ID,", ",ID", ""})
        EXPECT_EQ(utmctl("--columns '" + wrong + "' profile list"),
                  refused(2, "wrong option: --columns: '" + wrong +
                                 "' is not a list of headings such as ID,MAC; 'utmctl help' lists the options\n"));
}

TEST(options, columns_leave_json_and_deeds_alone)
{
    const config_daemons daemons;
    register_ids({{0, 7}});
    EXPECT_EQ(utmctl("-j --columns MAC profile list"), utmctl("-j profile list"));
    EXPECT_EQ(utmctl("--columns MAC profile delete 7"), (run_result{0, "profile 7 deleted\n", ""}));
}

TEST(options, behind_two_hyphens_words_are_arguments)
{
    const std::pair<const char*, const char*> lines[] = {
        {"uuid set -- -x", "-x\n"},
        {"uuid -- set --json", "--json\n"},
        {"-- uuid set --yes", "--yes\n"},
        {"uuid set -- --", "--\n"},
    };
    for (const auto& [line, uuid] : lines) {
        EXPECT_EQ(utmctl(line), (run_result{0, "the device UUID was set\n", ""})) << line;
        EXPECT_EQ(utmctl("uuid get --"), (run_result{0, uuid, ""})) << line;
    }
    EXPECT_EQ(utmctl("watch --count 1 -- uuid get --timeout 5"), (run_result{0, "--\n", ""}));
    EXPECT_EQ(utmctl("watch --count 1 registry check -- profile -5"),
              refused(2, "registry check: ID: '-5' is not an identifier, a whole number from 1 to 2147483647; 'utmctl "
                         "help registry check' tells what it takes\n"));
    EXPECT_EQ(utmctl("log -- -f"),
              refused(2, "log: FAMILY: '-f' has no log; these have one: config, ips, devid, common; profile, cf, app "
                         "and registry write to config, uuid to common, av and ir to none; 'utmctl help log' tells "
                         "what it takes\n"));
}

TEST(options, yes_is_taken_anywhere)
{
    for (const char* line : {"--yes registry clear", "registry --yes clear", "registry clear --yes"}) {
        register_ids({{0, 7}});
        EXPECT_EQ(utmctl(line), (run_result{0, "the registry was cleared\n", ""})) << line;
        EXPECT_EQ(all_slots()[0], 0U) << line;
    }
    EXPECT_EQ(utmctl("registry clear -- --yes").status, 2);
    EXPECT_EQ(utmctl("call --yes utm_uuid_set ''"), (run_result{0, "returned: 0\n", ""}));
}

TEST(options, yes_is_nothing_to_what_destroys_nothing)
{
    register_ids({{0, 7}});
    EXPECT_EQ(utmctl("profile list --yes"), utmctl("profile list"));
    EXPECT_EQ(utmctl("-j --yes registry check profile 7"), utmctl("-j registry check profile 7"));
    EXPECT_EQ(utmctl("watch --yes profile list --count 1"), utmctl("profile list"));
}

// What a terminal shows of a command.
std::string shown(const std::vector<const char*>& words)
{
    std::vector<const char*> command = {"env", "-u", "NO_COLOR", "TERM=xterm"};
    command.insert(command.end(), words.begin(), words.end());
    terminal one(command);
    one.status();
    return one.screen();
}

TEST(options, a_terminal_shows_headings_and_failures_in_colour)
{
    register_ids({{0, 7}});
    EXPECT_EQ(shown({KQUTM_UTMCTL, "profile", "list"}), "\033[1mID\033[0m \033[1mCF-POLICY\033[0m "
                                                        "\033[1mAPP-POLICY\033[0m\r\n"
                                                        " 7         -          -\r\n");
    EXPECT_EQ(
        shown({KQUTM_UTMCTL, "profile", "delete", "8"}),
        "\033[31mutmctl:\033[0m profile 8 was not deleted: the ID registry does not know it, and nothing was sent; "
        "'utmctl profile list' tells which profiles there are\r\n");
}

TEST(options, no_color_keeps_colours_away)
{
    register_ids({{0, 7}});
    const std::string plain = "ID CF-POLICY APP-POLICY\r\n 7         -          -\r\n";
    EXPECT_EQ(shown({"NO_COLOR=1", KQUTM_UTMCTL, "profile", "list"}), plain);
    EXPECT_EQ(shown({"TERM=dumb", KQUTM_UTMCTL, "profile", "list"}), plain);
}

TEST(options, wait_begins_when_the_daemons_are_there)
{
    running_utmctl waiting("--wait 60 cf debug 3");
    const sim::scripted_daemon cf(cf_path, answer(0));
    EXPECT_EQ(waiting.wait(), (run_result{0, "the content filter's debug value set to 3\n", ""}));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(options, wait_keeps_standard_input_for_the_command)
{
    const config_daemons daemons;
    write_file("/tmp/urls", "http://bad.example/\n");
    const int input = open("/tmp/urls", O_RDONLY | O_CLOEXEC);
    const int kept = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3);
    dup2(input, STDIN_FILENO);
    close(input);
    EXPECT_EQ(utmctl("--wait 60 cf add-forbidden-url -f -").status, 0);
    dup2(kept, STDIN_FILENO);
    close(kept);
    EXPECT_EQ(daemons.told(), std::vector<std::string>(2, cf_path)); // first to see that it is there
}

TEST(options, a_wait_in_vain_begins_nothing)
{
    register_ids({{0, 7}});
    const sim::scripted_daemon cf(cf_path, answer(0));
    EXPECT_EQ(utmctl("--wait 0.1 profile create 8"),
              refused(4, "profile create was not begun within 0.1 s: the application daemon "
                         "(/dev/utm_app_config_socket) cannot be reached: No such file or directory; start the "
                         "application daemon, then run the command again\n"));
    EXPECT_EQ(utmctl("--wait 0.1 --no-headers profile list"), (run_result{0, " 7         -          -\n", ""}));
    EXPECT_EQ(utmctl("--wait 60 -q status").err, utmctl("-q status").err);
    EXPECT_EQ(utmctl("--wait 60 --timeout 0.1 wait cf"), utmctl("--timeout 0.1 wait cf"));
    EXPECT_EQ(utmctl("--wait 0 profile list"),
              refused(2, "wrong option: --wait: '0' is not a number of seconds above 0 "
                         "and up to 86400; 'utmctl help' lists the options\n"));
}

} // namespace
