// What the library logs and prints during a command, and what that means.

#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/registry.h"
#include "tests/utmctl/run.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using json = nlohmann::ordered_json;

const std::string log_path = "/tmp/utm_log/utm_libappcf_config_log";

json explanation_of(const std::string& line)
{
    return told_by("--explain " + line).at("explanation");
}

TEST(explain, nothing_to_explain)
{
    const config_daemons daemons;
    EXPECT_EQ(utmctl("--explain profile create 7"), (run_result{0, "7\n", "the library logged and printed nothing\n"}));
    EXPECT_EQ(utmctl("-j --explain registry check profile 7").out,
              R"({"command":"registry check","status":"done","exit":0,)"
              R"("result":{"kind":"profile","id":7,"registered":true},"errors":[],"explanation":[]})"
              "\n");
}

TEST(explain, nothing_was_said_to_a_wrong_line)
{
    for (const char* line : {"profile create x", "profile flush", "profle", "version --timeout"})
        EXPECT_EQ(explanation_of(line), json::array()) << line;
    EXPECT_EQ(utmctl("--explain profile flush").err, utmctl("profile flush").err);
}

TEST(explain, a_failure_with_its_lines_and_their_meaning)
{
    const config_daemons daemons({.app = 5});
    EXPECT_EQ(utmctl("--explain profile set-daily-limit 7 60"),
              (run_result{1, "",
                          "utmctl: the daily limit of profile 7 was not set to 60: the application daemon "
                          "(/dev/utm_app_config_socket) refused with error code 5; the daemon's own log tells the "
                          "reason\n" +
                              log_path +
                              ": [send_utm_config_event]error code = 5\n"
                              "    The daemon refused with that status, whose meaning is its own.\n" +
                              log_path +
                              ": utm_user_profile_set_daily_limit(60) fail\n"
                              "    The daemon was not reached or did not accept; the line before tells which.\n"}));
}

TEST(explain, lines_that_repeat_stand_once)
{
    const config_daemons daemons({.cf = absent});
    const json connecting = {{"source", log_path},
                             {"text", "[send_utm_config_event]connect fail: No such file or directory"},
                             {"times", 22},
                             {"meaning", "The daemon is not running, or its socket may not be used."}};
    const json failing = {{"source", log_path},
                          {"text", "[utm_cf_debug] fail(activate = 1)"},
                          {"times", 1},
                          {"meaning", "The daemon was not reached or did not accept; the line before tells which."}};
    EXPECT_EQ(explanation_of("cf debug 1"), json::array({connecting, failing}));
}

// A list whose notes run together on one line.
TEST(explain, notes_of_entries_are_told_apart)
{
    sim::bytes entry = reply(2);
    std::fill(entry.begin() + 288, entry.begin() + 800, 0);
    std::copy_n("a.example", 9, entry.begin() + 288);
    const sim::scripted_daemon cf(cf_path, answer(records{entry, entry, reply(5)}));
    const json explained = explanation_of("profile domains 7");
    ASSERT_EQ(explained.size(), 3U) << explained;
    EXPECT_EQ(explained[0]["text"], "response->cf.domain_browse->domain: a.example");
    EXPECT_EQ(explained[0]["times"], 2);
    EXPECT_EQ(explained[0]["meaning"], "This is no failure: it notes an entry of a list that came.");
    EXPECT_EQ(explained[1]["text"], "[send_utm_event_and_get_response]error code = 5");
    EXPECT_EQ(explained[2]["text"], "get utm_user_profile_get_browse_domain_list fail");
}

TEST(explain, what_was_printed)
{
    EXPECT_EQ(explanation_of("ir version"),
              json::parse(R"([{"source":"printed","text":"connect failed","times":1,)"
                          R"("meaning":"The daemon is not running, or its socket may not be used."}])"));
}

TEST(explain, earlier_lines_are_not_this_command_s)
{
    utmctl("ips reset --yes");
    EXPECT_EQ(explanation_of("ips reset --yes")[0]["times"], 1);
}

TEST(explain, a_text_seen_elsewhere)
{
    EXPECT_EQ(utmctl("explain 'user profile id(7) not found' 'connect_ips(12) connect failed. Error'"),
              (run_result{0,
                          "user profile id(7) not found\n"
                          "    The registry does not hold that identifier, so nothing was sent.\n"
                          "connect_ips(12) connect failed. Error\n"
                          "    The daemon is not running, or its socket may not be used.\n",
                          ""}));
    EXPECT_EQ(utmctl("-j explain 'size error'").out,
              done_line("explain", R"([{"text":"size error","meaning":"The library refused an argument, and sent )"
                                   R"(nothing."}])"));
}

TEST(explain, a_text_of_others_is_a_failure)
{
    EXPECT_EQ(utmctl("explain 'my disk did fail' 'size error'"),
              (run_result{1,
                          "my disk did fail\n"
                          "    not a text of the library\n"
                          "size error\n"
                          "    The library refused an argument, and sent nothing.\n",
                          "utmctl: 'my disk did fail' is not a text of the library; 'utmctl explain' lists all of "
                          "them\n"}));
    EXPECT_EQ(utmctl("explain 'disk fail'").status, 1);
    EXPECT_EQ(utmctl("explain user profile not found"),
              (run_result{1,
                          "user profile not found\n"
                          "    not a text of the library\n",
                          "utmctl: 'user profile not found' is not a text of the library; give each text in quotes; "
                          "'utmctl explain' lists all of them\n"}));
    EXPECT_EQ(utmctl("explain 'disk fail' disk").err,
              "utmctl: 'disk fail' is not a text of the library; 'utmctl explain' lists all of them\n"
              "utmctl: 'disk' is not a text of the library; 'utmctl explain' lists all of them\n");
    EXPECT_EQ(utmctl("explain 'utm_cf_flush fail'").status, 0);
}

TEST(explain, a_line_that_utmctl_printed)
{
    const std::pair<const char*, const char*> lines[] = {
        {"config: add cf policy(9) to user profile(70) fail",
         "The registry has the binding, but the daemon did not take it. The line names the profile where it says "
         "policy, and the policy where it says profile."},
        {"ips: connect_ips(61) connect failed. Error", "The daemon is not running, or its socket may not be used."},
        {"printed: connect failed", "The daemon is not running, or its socket may not be used."},
        {"/tmp/utm_log/utm_libappcf_config_log: [send_utm_config_event]error code = 5 (2 times)",
         "The daemon refused with that status, whose meaning is its own."},
        {"config: user profile id(7) not found (22 times)",
         "The registry does not hold that identifier, so nothing was sent."},
    };
    for (const auto& [line, means] : lines)
        EXPECT_EQ(utmctl("explain '" + std::string(line) + "'"),
                  (run_result{0, line + std::string("\n    ") + means + "\n", ""}));
}

TEST(explain, the_words_of_a_text_without_quotes)
{
    EXPECT_EQ(utmctl("explain '[connect]connect fail: x' 'size error'").out,
              "[connect]connect fail: x\n"
              "    The daemon is not running, or its socket may not be used.\n"
              "size error\n"
              "    The library refused an argument, and sent nothing.\n");
    EXPECT_EQ(utmctl("explain user profile 'id(7)' not found"),
              (run_result{0,
                          "user profile id(7) not found\n"
                          "    The registry does not hold that identifier, so nothing was sent.\n",
                          ""}));
}

} // namespace
