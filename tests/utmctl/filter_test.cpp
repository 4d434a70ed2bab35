#include "tests/sandbox/files.h"
#include "tests/sandbox/paths.h"
#include "tests/sandbox/registry.h"
#include "tests/utmctl/profile_texts.h"
#include "tests/utmctl/records.h"
#include "tests/utmctl/run.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

// The content filter's switches, dumps and the combined reset.

namespace {

TEST(filter, an_engine_is_switched_on_and_off)
{
    const config_daemons daemons;
    EXPECT_EQ(utmctl("cf safe-browsing on"), (run_result{0, "safe browsing switched on\n", ""}));
    EXPECT_EQ(daemons.request_of(cf_path), request_record(cf_path, 18, words_body({1})));
    EXPECT_EQ(content_of(kernel_enable) + content_of(kernel_hdf_enable), "1\nyes\n");
    EXPECT_EQ(utmctl("-j cf web-category 5"),
              (run_result{0, done_line("cf web-category", R"({"switch":5,"filter":"on"})"), ""}));
    EXPECT_EQ(daemons.request_of(cf_path), request_record(cf_path, 20, words_body({5})));
    EXPECT_EQ(utmctl("cf web-category off"), (run_result{0, "web-category filtering switched off\n", ""}));
    EXPECT_EQ(utmctl("-j cf safe-browsing off"),
              (run_result{0, done_line("cf safe-browsing", R"({"switch":0,"filter":"off"})"), ""}));
    EXPECT_EQ(content_of(kernel_enable) + content_of(kernel_hdf_enable), "0\nno\n");
}

TEST(filter, a_refused_engine_tells_what_holds_the_value)
{
    const config_daemons daemons({.cf = 3});
    const run_result result = utmctl("cf safe-browsing on");
    EXPECT_EQ(result,
              refused(1, "safe browsing was not switched on (/tmp/web_safe_browsing_activate has the new value; the "
                         "filter as a whole is on): the content-filter daemon (/dev/utm_cf_config_socket) refused "
                         "with error code 3; the daemon's own log tells the reason\n"));
}

// A socket is there, but cannot be opened.
TEST(filter, an_engine_file_that_cannot_be_opened_is_told)
{
    const config_daemons daemons;
    const sim::scripted_daemon in_the_way("/tmp/web_category_activate", answer(0));
    const std::string cause = "the switch file (/tmp/web_category_activate) cannot be opened: No such device or "
                              "address; make that file readable, then run the command again\n";
    EXPECT_EQ(utmctl("cf safe-browsing on"),
              refused(8, "safe browsing was not switched on, though its file may say so: " + cause));
    EXPECT_EQ(utmctl("cf activate"), refused(8, "the filter as a whole was not switched as its engines are: " + cause));
    EXPECT_TRUE(daemons.visits().empty());
}

TEST(filter, the_whole_follows_its_engines)
{
    EXPECT_EQ(utmctl("cf activate"), (run_result{0, "the filter as a whole switched off\n", ""}));
    write_file("/tmp/web_category_activate", "1\n");
    EXPECT_EQ(utmctl("-j cf activate"), (run_result{0, done_line("cf activate", R"({"filter":"on"})"), ""}));
    EXPECT_TRUE(exists(filter_marker));
    EXPECT_EQ(content_of(kernel_enable), "1\n");
}

TEST(filter, the_kernel_is_switched_alone)
{
    EXPECT_EQ(utmctl("cf switch-kernel 2"), (run_result{0, "the kernel's filter switched to 2\n", ""}));
    EXPECT_EQ(content_of(kernel_enable) + content_of(kernel_hdf_enable), "2\nyes\n");
    EXPECT_EQ(utmctl("-j cf switch-kernel off"), (run_result{0, done_line("cf switch-kernel", R"({"mode":0})"), ""}));
    EXPECT_EQ(content_of(kernel_enable) + content_of(kernel_hdf_enable), "0\nno\n");
    EXPECT_FALSE(exists(filter_marker));
}

TEST(filter, the_redirect_page_is_set_and_cleared)
{
    EXPECT_EQ(utmctl("cf redirect-page http://gateway/blocked"), (run_result{0, "the redirect page set\n", ""}));
    EXPECT_EQ(content_of(kernel_redirect_url), "http://gateway/blocked");
    EXPECT_EQ(utmctl("-j cf redirect-page"), (run_result{0, done_line("cf redirect-page", R"({"page":""})"), ""}));
    EXPECT_EQ(content_of(kernel_redirect_url).front(), '\0');
    const std::string too_long(1024, 'p');
    EXPECT_EQ(utmctl("cf redirect-page " + too_long),
              refused(2, "cf redirect-page: TEXT: '" + too_long +
                             "' is longer than 1023 characters; 'utmctl help cf redirect-page' tells what it takes\n"));
}

// The same status as that of the function that is called by hand.
TEST(filter, a_redirect_page_that_the_system_refuses)
{
    write_file(kernel_redirect_url, "");
    chmod(kernel_redirect_url, 0644);
    const run_result closed = refused(1, "the redirect page was not set: the kernel's file "
                                         "(/proc/net/cfilter_redirect_url) cannot be written: Permission denied; see "
                                         "that it is a file that may be written, and run the command as root\n");
    EXPECT_EQ(utmctl_of_another_user("cf redirect-page page").value_or(closed), closed);
    std::filesystem::remove(kernel_redirect_url);
    std::filesystem::create_directory(kernel_redirect_url);
    EXPECT_EQ(utmctl("cf redirect-page page"),
              refused(1, "the redirect page was not set: the kernel's file (/proc/net/cfilter_redirect_url) cannot be "
                         "written: Is a directory; see that it is a file that may be written, and run the command as "
                         "root\n"));
    EXPECT_EQ(utmctl("call utm_cf_redirect_page page").status, 1);
}

TEST(filter, status_shows_files_and_daemon)
{
    const config_daemons daemons;
    utmctl("cf safe-browsing on");
    const auto value = told_by("cf status")["result"];
    EXPECT_EQ(value["safe_browsing"], 1);
    EXPECT_EQ(value["web_category"], nullptr);
    EXPECT_EQ(value["filter"], "on");
    EXPECT_EQ(value["kernel_enable"], 1);
    EXPECT_EQ(value["kernel_hdf_enable"], "yes");
    EXPECT_EQ(value["daemon_process"], nullptr);
    const run_result shown = utmctl("cf status");
    EXPECT_TRUE(shown.out.starts_with("WHAT              VALUE\n"
                                      "safe browsing     1\n"
                                      "web category      -\n"
                                      "filter as a whole on\n"
                                      "kernel            1\n"
                                      "kernel hdf        yes\n"))
        << shown;
}

TEST(dump, of_the_content_filter_is_printed_and_parted)
{
    const config_daemons daemons;
    register_ids({{0, 7}, {256, 70}, {512, 70}});
    utmctl("cf switch-kernel on");
    const run_result result = utmctl("cf dump /tmp/dump");
    EXPECT_EQ(daemons.request_of(cf_path), request_record(cf_path, 0, text_body({}, "/tmp/dump")));
    EXPECT_EQ(result,
              (run_result{0, content_of("/tmp/dump") + "the dump of the content filter written to /tmp/dump\n", ""}));
    EXPECT_NE(result.out.find("\n====Dump user profile ID[shared memory]\nUser profile ID[0] = 7 - bind cf id = 70\n"),
              std::string::npos)
        << result;
    const auto value = told_by("cf dump /tmp/dump")["result"];
    EXPECT_EQ(value["file"], "/tmp/dump");
    ASSERT_EQ(value["sections"].size(), 4U);
    EXPECT_EQ(value["sections"][0]["heading"], nullptr);
    EXPECT_EQ(value["sections"][1].dump(), R"({"heading":"dump_cf_activate","lines":["1","yes",""]})");
    EXPECT_EQ(value["sections"][2].dump(), R"({"heading":"Dump user profile ID[shared memory]","lines":)"
                                           R"(["User profile ID[0] = 7 - bind cf id = 70"]})");
    EXPECT_EQ(value["sections"][3].dump(),
              R"({"heading":"Dump cf policy ID[shared memory]","lines":["cf policy ID[0] = 70",""]})");
}

TEST(dump, of_application_control)
{
    const config_daemons daemons;
    register_ids({{0, 7}, {768, 80}, {1024, 80}});
    const run_result result = utmctl("app dump /tmp/dump");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(daemons.request_of(app_path), request_record(app_path, 38, text_body({}, "/tmp/dump")));
    EXPECT_NE(result.out.find("\n====Dump app policy ID[shared memory]\napp policy ID[0] = 80\n"), std::string::npos)
        << result;
}

TEST(dump, that_the_daemon_refuses)
{
    const config_daemons daemons({.app = 3});
    EXPECT_EQ(
        utmctl("app dump /tmp/dump"),
        refused(1, "the dump of application control was not written to /tmp/dump: the application daemon "
                   "(/dev/utm_app_config_socket) refused with error code 3; the daemon's own log tells the reason\n"));
}

TEST(dump, into_a_folder_that_is_not_there_is_done_in_part)
{
    const config_daemons daemons;
    const run_result result = utmctl("cf dump /tmp/none/dump");
    EXPECT_EQ(result.status, 8);
    EXPECT_TRUE(result.err.starts_with(
        "utmctl: the dump of the content filter was written to /tmp/none/dump in part: the shell says 'sh: "))
        << result;
}

// The shell has nothing to say of a file that keeps nothing.
TEST(dump, that_breaks_off_is_done_in_part)
{
    const config_daemons daemons;
    EXPECT_EQ(utmctl("cf dump /dev/null"),
              refused(8,
                      "the dump of the content filter was written to /dev/null in part: the file (/dev/null) does not "
                      "hold what the registry holds; see what 'utmctl registry show' tells, then run the command "
                      "again\n"));
    const auto value = told_by("app dump /dev/null");
    EXPECT_EQ(value["exit"], 8);
    EXPECT_EQ(value["result"].dump(), R"({"file":"/dev/null","sections":[]})");
}

TEST(dump, of_the_kernel_is_appended)
{
    utmctl("cf switch-kernel on");
    write_file("/tmp/dump", "before\n");
    EXPECT_EQ(utmctl("cf dump-kernel /tmp/dump"),
              (run_result{0, "the dump of the kernel's switches appended to /tmp/dump\n", ""}));
    EXPECT_EQ(content_of("/tmp/dump"), "before\n====dump_cf_activate\n1\nyes\n\n");
    EXPECT_EQ(utmctl("-j cf dump-kernel /tmp/dump"),
              (run_result{0, done_line("cf dump-kernel", R"({"file":"/tmp/dump"})"), ""}));
}

class unsafe_path : public testing::TestWithParam<std::string> {};

TEST_P(unsafe_path, is_refused)
{
    for (const char* command : {"cf dump", "cf dump-kernel", "app dump", "app update-signature",
                                "app import-statistics", "app export-statistics"}) {
        const run_result result = utmctl(command + (" " + GetParam()));
        EXPECT_EQ(result.status, 2) << result;
        EXPECT_TRUE(result.err.starts_with(std::string("utmctl: ") + command + ": FILE: ")) << result;
    }
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

INSTANTIATE_TEST_SUITE_P(utmctl, unsafe_path,
                         testing::Values("/tmp/a;b", "/tmp/$(id)", "/tmp/a`b`", "/tmp/a'b", "/tmp/a\"b", "/tmp/a\\b",
                                         "/tmp/a|b", "/tmp/a>b", "/tmp/a&b", "/tmp/*", "/tmp/a?", "/tmp/[ab]", "/tmp/~",
                                         "/tmp/#a", "/tmp/{a,b}", "/tmp/\xc3\xa4", "/tmp/",
                                         "/tmp/" + std::string(123, 'p')));

TEST(dump, a_path_of_127_characters_is_taken)
{
    const config_daemons daemons;
    const std::string path = "/tmp/" + std::string(122, 'p');
    EXPECT_EQ(utmctl("app export-statistics " + path), (run_result{0, "the statistics file written\n", ""}));
    EXPECT_EQ(daemons.request_of(app_path), request_record(app_path, 51, text_body({}, path)));
}

TEST(reset, does_everything_in_order)
{
    const config_daemons daemons;
    register_ids({{0, 7}});
    write_file(filter_marker, "");
    EXPECT_EQ(utmctl("reset --yes"), (run_result{0,
                                                 "profile 7 deleted\n"
                                                 "the content filter flushed\n"
                                                 "safe browsing switched off\n"
                                                 "web-category filtering switched off\n"
                                                 "application control switched off\n",
                                                 ""}));
    EXPECT_EQ(daemons.told(),
              (std::vector<std::string>{cf_path, app_path, user_profile_path, cf_path, cf_path, cf_path, app_path}));
    EXPECT_FALSE(exists(filter_marker));
    EXPECT_EQ(utmctl("-j reset --yes"),
              (run_result{0,
                          done_line("reset", R"([{"step":"profiles","status":"done","profiles":[]},)"
                                             R"({"step":"content_filter","status":"done"},)"
                                             R"({"step":"safe_browsing","status":"done"},)"
                                             R"({"step":"web_category","status":"done"},)"
                                             R"({"step":"application_control","status":"done"}])"),
                          ""}));
}

TEST(reset, stops_at_the_first_step_that_fails)
{
    const config_daemons daemons({.app = 3});
    const run_result result = utmctl("reset --yes");
    EXPECT_EQ(result,
              (run_result{8,
                          "no profile to delete\n"
                          "the content filter flushed\n"
                          "safe browsing switched off\n"
                          "web-category filtering switched off\n",
                          "utmctl: application control was not switched off, and the rest of the reset was left out: "
                          "the application daemon (/dev/utm_app_config_socket) refused with error code 3; the daemon's "
                          "own log tells the reason\n"}));
    const auto value = told_by("reset --yes")["result"];
    ASSERT_EQ(value.size(), 5U);
    EXPECT_EQ(value[4].dump(), R"({"step":"application_control","status":"refused"})");
}

TEST(reset, without_the_content_filter)
{
    EXPECT_EQ(utmctl("reset --yes"),
              (run_result{8, "no profile to delete\n",
                          std::string("utmctl: the content filter was not flushed, and the rest of the reset was left "
                                      "out: ") +
                              cf_missing + "; start the content-filter daemon, then run the command again\n"}));
}

TEST(reset, tells_of_profiles_that_a_daemon_keeps)
{
    const config_daemons daemons({.user_profile = 3});
    register_ids({{0, 7}});
    EXPECT_EQ(utmctl("reset --yes"),
              (run_result{8,
                          "the content filter flushed\n"
                          "safe browsing switched off\n"
                          "web-category filtering switched off\n"
                          "application control switched off\n",
                          "utmctl: profile 7 was deleted in part (not in the registry): the content-filter daemon "
                          "(/dev/utm_cf_config_socket) or the application daemon (/dev/utm_app_config_socket) or the "
                          "user-profile daemon (/dev/utm_user_profile_socket) refused with error code 3; the daemon's "
                          "own log tells the reason; " +
                              clean_up_again(7)}));
}

TEST(rules, what_destroys_wants_yes)
{
    const config_daemons daemons;
    EXPECT_EQ(utmctl("cf flush-policy 3 0"),
              refused(9,
                      "cf flush-policy was not carried out: it destroys what the policy holds, or with 0 whatever the "
                      "daemon takes that for; add --yes if that is what you want\n"));
    EXPECT_EQ(utmctl("cf flush-policy 3 --yes").status, 2);
    for (const char* line : {"reset", "cf flush 0", "cf flush-policy 0 70", "app clear-entries 80"})
        EXPECT_EQ(utmctl(line).status, 9) << line;
    EXPECT_TRUE(daemons.visits().empty());
}

} // namespace
