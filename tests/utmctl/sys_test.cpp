#include "tests/sandbox/files.h"
#include "tests/sandbox/key_file.h"
#include "tests/utmctl/run.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

constexpr char flag_file[] = "/tmp/utm_debug_event_log";

TEST(sys, debug_events_are_switched_by_a_file)
{
    EXPECT_EQ(utmctl("sys debug-events on"), (run_result{0, "the recording of debug events was switched on\n", ""}));
    EXPECT_TRUE(exists(flag_file));
    EXPECT_EQ(utmctl("-j sys debug-events on"),
              (run_result{0, done_line("sys debug-events", R"({"debug_events":true})"), ""}));
    EXPECT_EQ(utmctl("sys debug-events off"), (run_result{0, "the recording of debug events was switched off\n", ""}));
    EXPECT_FALSE(exists(flag_file));
    EXPECT_EQ(utmctl("-j sys debug-events off"),
              (run_result{0, done_line("sys debug-events", R"({"debug_events":false})"), ""}));
}

TEST(sys, a_switch_that_did_not_move_is_told)
{
    std::filesystem::create_directory(flag_file);
    const std::string error = "the recording of debug events was not switched off: its file (/tmp/utm_debug_event_log) "
                              "cannot be changed; see who owns that file and its folder, and whether there is room\n";
    EXPECT_EQ(utmctl("sys debug-events off"), refused(1, error));
    const run_result in_json = utmctl("-j sys debug-events off");
    EXPECT_TRUE(in_json.out.starts_with(R"({"command":"sys debug-events","status":"refused","exit":1,"result":null,)"))
        << in_json;
}

TEST(sys, a_shell_that_fails_is_quoted)
{
    std::filesystem::create_symlink("/nowhere/file", flag_file);
    const run_result told = utmctl("sys debug-events on");
    EXPECT_EQ(told.status, 1);
    EXPECT_NE(told.err.find("cannot be changed: 'touch: "), std::string::npos) << told;
}

TEST(sys, run_prints_what_a_command_prints)
{
    EXPECT_EQ(utmctl("sys run 'echo seven; echo eight' --yes"), (run_result{0, "seven\neight\n", ""}));
    EXPECT_EQ(utmctl("-j sys run 'echo seven; echo eight' --yes"),
              (run_result{0, done_line("sys run", R"({"output":"seven\neight","standard_error":""})"), ""}));
    EXPECT_EQ(utmctl("sys run true --yes"), (run_result{0, "", ""}));
    EXPECT_EQ(utmctl("sys run 'echo red >&2; printf \"a\\\\033\"' --yes"),
              (run_result{0, "a\\x1b\nstandard error: red\n", ""}));
    EXPECT_EQ(utmctl("sys run 'printf %070000d 0' --yes").out, std::string(65535, '0') + "\n");
}

TEST(sys, run_wants_a_yes)
{
    EXPECT_EQ(utmctl("sys run 'touch /tmp/made'"),
              refused(9, "sys run was not carried out: it destroys whatever the command destroys; add --yes if that "
                         "is what you want\n"));
    EXPECT_EQ(utmctl("--dry-run sys run 'touch /tmp/made'"),
              (run_result{0,
                          "shell: touch /tmp/made\nnothing was sent and nothing changed; every daemon is taken to "
                          "accept\n",
                          ""}));
    EXPECT_FALSE(exists("/tmp/made"));
}

TEST(sys, run_tells_of_a_shell_that_does_not_start)
{
    const missing_shell missing;
    EXPECT_EQ(utmctl("sys run true --yes"),
              refused(1, "the shell's command was not run: the shell (/bin/sh) cannot be started; see whether it is "
                         "there, and how many processes and how much memory are left\n"));
}

TEST(sys, run_tells_of_a_command_that_does_not_end)
{
    EXPECT_EQ(utmctl("--timeout 0.05 sys run 'exec sleep 5' --yes"),
              refused(3, "the shell's command did not end: the library has not come back within 0.05 s, and the call "
                         "was ended; it may go on by itself; --timeout sets a longer limit\n"));
}

TEST(sys, a_state_is_on_or_off)
{
    EXPECT_EQ(utmctl("sys debug-events 1"),
              refused(2, "sys debug-events: STATE: '1' is not a state: on or off; 'utmctl "
                         "help sys debug-events' tells what it takes\n"));
}

} // namespace
