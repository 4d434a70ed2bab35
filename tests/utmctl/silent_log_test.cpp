#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/registry.h"
#include "tests/utmctl/profile_texts.h"
#include "tests/utmctl/run.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

// What is known when the diagnostic log cannot be written.

namespace {

constexpr char log_folder[] = "/tmp/utm_log";
constexpr char log_file[] = "/tmp/utm_log/utm_libappcf_config_log";

std::string unknown(const std::string& daemons)
{
    return std::string("the diagnostic log (") + log_file + ") could not be written, so it is not known what the " +
           daemons + " answered";
}

std::string daemons_in(const run_result& result)
{
    const size_t begin = result.out.find("\"daemons\"");
    return result.out.substr(begin, result.out.find('}', begin) + 1 - begin);
}

// On a gateway whose log folder is a file, and whose registry holds profile 7.
class silent_log : public testing::Test {
    void SetUp() override
    {
        write_file(log_folder, "");
        register_ids({{0, 7}});
    }
};

TEST_F(silent_log, create_that_stays_registered_was_accepted_by_all)
{
    const config_daemons daemons;
    EXPECT_EQ(utmctl("profile create 8"), (run_result{0, "8\n", ""}));
}

TEST_F(silent_log, create_that_does_not_stay_registered_was_refused_by_another)
{
    const config_daemons daemons({.cf = 5});
    EXPECT_EQ(utmctl("profile create 8"),
              (run_result{8, "8\n",
                          "utmctl: profile 8 was created in part (accepted by the application daemon; not in the "
                          "registry): the content-filter daemon (/dev/utm_cf_config_socket) or the user-profile daemon "
                          "(/dev/utm_user_profile_socket) failed, for a reason that the diagnostic log does not hold; "
                          "the daemon's own log tells the reason; " +
                              clean_up(8)}));
}

TEST_F(silent_log, create_without_another_daemon_tells_which)
{
    const config_daemons daemons({.cf = absent});
    EXPECT_EQ(utmctl("profile create 8"),
              (run_result{8, "8\n",
                          std::string("utmctl: profile 8 was created in part (accepted by the application daemon; not "
                                      "in the registry): ") +
                              cf_missing + ", and " + unknown("user-profile daemon") +
                              "; start the content-filter daemon, then " + clean_up(8)}));
}

TEST_F(silent_log, create_refused_by_the_application_daemon_tells_nothing_of_the_others)
{
    const config_daemons daemons({.app = 3});
    const std::string app = "the application daemon (/dev/utm_app_config_socket) refused";
    EXPECT_EQ(utmctl("profile create 8"), refused(1, "profile 8 was not created (not in the registry): " + app +
                                                         ", and " + unknown("content-filter and user-profile daemons") +
                                                         "; the daemon's own log tells the reason; " + clean_up(8)));
}

TEST_F(silent_log, delete_may_be_done_in_part_only)
{
    const config_daemons daemons;
    EXPECT_EQ(utmctl("profile delete 7"),
              refused(8, "profile 7 may have been deleted in part only (accepted by the user-profile daemon; not in "
                         "the registry): " +
                             unknown("content-filter and application daemons") +
                             "; make the diagnostic log writable, then " + clean_up(7)));
}

TEST_F(silent_log, delete_that_leaves_the_profile_registered_failed_at_both)
{
    const config_daemons daemons({.cf = 4, .app = 5});
    const std::string failed = " failed, for a reason that the diagnostic log does not hold";
    EXPECT_EQ(utmctl("profile delete 7"),
              refused(8, "profile 7 was deleted in part (accepted by the user-profile daemon; in the registry): the "
                         "content-filter daemon (/dev/utm_cf_config_socket)" +
                             failed + ", and the application daemon (/dev/utm_app_config_socket)" + failed +
                             "; the daemon's own log tells the reason\n"));
}

TEST_F(silent_log, the_bindings_prove_who_accepted_a_delete)
{
    const config_daemons daemons;
    register_ids({{0, 7}, {256, 70}, {512, 70}, {768, 80}, {1024, 80}});
    EXPECT_EQ(utmctl("profile delete 7"), (run_result{0, "profile 7 deleted\n", ""}));
}

TEST_F(silent_log, the_bindings_prove_who_refused_a_delete)
{
    const config_daemons daemons({.app = 4});
    register_ids({{0, 7}, {768, 80}, {1024, 80}});
    const run_result result = utmctl("-j profile delete 7");
    EXPECT_EQ(result.status, 8);
    EXPECT_EQ(daemons_in(result),
              R"("daemons":{"content_filter":"accepted","application":"failed","user_profile":"accepted"})");
}

TEST_F(silent_log, a_device_may_be_known_in_part_only)
{
    const config_daemons daemons;
    EXPECT_EQ(
        utmctl("profile add-device 7 02:42:ac:11:00:05"),
        refused(8, "02:42:ac:11:00:05 may have been added to profile 7 in part only (accepted by the user-profile "
                   "daemon; in the registry): " +
                       unknown("content-filter and application daemons") +
                       "; make the diagnostic log writable, then run the command again\n"));
    EXPECT_EQ(daemons_in(utmctl("-j profile add-device 7 02:42:ac:11:00:05")),
              R"("daemons":{"content_filter":"unknown","application":"unknown","user_profile":"accepted"})");
}

TEST_F(silent_log, a_flush_that_leaves_a_profile_registered_is_no_success)
{
    const config_daemons daemons({.cf = 4, .app = 5});
    EXPECT_EQ(utmctl("profile flush --yes"),
              refused(8, "profile 7 may have been deleted in part only (in the registry): the ID registry still holds "
                         "it, and the diagnostic log does not tell why; make the diagnostic log writable, then run the "
                         "command again\n"));
}

TEST_F(silent_log, a_flush_does_not_claim_what_nobody_told)
{
    const config_daemons daemons;
    const run_result result = utmctl("-j profile flush --yes");
    EXPECT_EQ(result.status, 8);
    EXPECT_EQ(daemons_in(result),
              R"("daemons":{"content_filter":"unknown","application":"unknown","user_profile":"unknown"})");
}

// Only the log tells at which step the library stopped.
TEST_F(silent_log, a_reset_that_breaks_off_does_not_claim_where)
{
    const config_daemons daemons({.app = 3});
    register_ids({{0, 0}});
    EXPECT_EQ(utmctl("reset --yes"),
              (run_result{8, "no profile to delete\n",
                          std::string("utmctl: the reset was broken off: the diagnostic log (") + log_file +
                              ") does not tell at which step: Remote I/O error; make it writable, then run the command "
                              "again\n"}));
    const run_result result = utmctl("-j reset --yes");
    EXPECT_NE(result.out.find(R"("result":[{"step":"profiles","status":"done","profiles":[]},)"
                              R"({"step":null,"status":"done-in-part"}])"),
              std::string::npos)
        << result;
}

TEST_F(silent_log, a_reset_that_is_done_is_told_as_ever)
{
    const config_daemons daemons;
    register_ids({{0, 0}});
    EXPECT_EQ(utmctl("reset --yes"), (run_result{0,
                                                 "no profile to delete\n"
                                                 "the content filter flushed\n"
                                                 "safe browsing switched off\n"
                                                 "web-category filtering switched off\n"
                                                 "application control switched off\n",
                                                 ""}));
}

class unwritable_log : public testing::TestWithParam<void (*)()> {};

TEST_P(unwritable_log, is_not_taken_for_a_silent_one)
{
    const config_daemons daemons;
    register_ids({{0, 7}});
    GetParam()();
    EXPECT_EQ(utmctl("profile add-device 7 02:42:ac:11:00:05").status, 8);
}

void make_a_folder_of_the_log()
{
    ASSERT_EQ(mkdir(log_folder, 0777), 0);
    ASSERT_EQ(mkdir(log_file, 0777), 0);
}

void make_a_dead_link_of_the_log()
{
    ASSERT_EQ(mkdir(log_folder, 0777), 0);
    ASSERT_EQ(symlink("/tmp/no/such/log", log_file), 0);
}

void make_a_dead_link_of_the_folder()
{
    ASSERT_EQ(symlink("/tmp/no/such/folder", log_folder), 0);
}

void make_a_device_of_the_log()
{
    ASSERT_EQ(mkdir(log_folder, 0777), 0);
    ASSERT_EQ(symlink("/dev/null", log_file), 0);
}

INSTANTIATE_TEST_SUITE_P(silent_log, unwritable_log,
                         testing::Values(make_a_folder_of_the_log, make_a_dead_link_of_the_log,
                                         make_a_dead_link_of_the_folder, make_a_device_of_the_log));

} // namespace
