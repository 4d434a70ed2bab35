#include "tests/sandbox/files.h"
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

TEST(sys, a_state_is_on_or_off)
{
    EXPECT_EQ(utmctl("sys debug-events 1"),
              refused(2, "sys debug-events: STATE: '1' is not a state: on or off; 'utmctl "
                         "help sys debug-events' tells what it takes\n"));
}

} // namespace
