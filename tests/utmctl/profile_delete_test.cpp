#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/registry.h"
#include "tests/utmctl/profile_texts.h"
#include "tests/utmctl/run.h"

#include <gtest/gtest.h>

namespace {

TEST(profile_delete, delete_goes_through_all)
{
    const config_daemons daemons;
    register_ids({{0, 7}, {1, 8}});
    EXPECT_EQ(utmctl("profile delete 7 8"), (run_result{0, "profile 7 deleted\nprofile 8 deleted\n", ""}));
    register_ids({{0, 7}});
    EXPECT_EQ(utmctl("-q profile delete 7"), (run_result{0, "", ""}));
}

TEST(profile_delete, delete_of_unknown_ones)
{
    const config_daemons daemons;
    register_ids({{0, 7}});
    const std::string unknown =
        "profile 9 was not deleted: the ID registry does not know it, and nothing was sent; 'utmctl "
        "profile list' tells which profiles there are\n";
    EXPECT_EQ(utmctl("profile delete 9"), refused(6, unknown));
    EXPECT_EQ(utmctl("profile delete 9 7"), (run_result{8, "profile 7 deleted\n", "utmctl: " + unknown}));
}

TEST(profile_delete, delete_with_a_missing_socket_is_no_unknown_identifier)
{
    const config_daemons daemons({.user_profile = absent});
    register_ids({{0, 7}});
    EXPECT_EQ(
        utmctl("profile delete 7"),
        refused(4, std::string("profile 7 was not deleted (accepted by the content-filter and application daemons; not "
                               "in the registry): ") +
                       user_profile_missing + "; start the user-profile daemon, then " + clean_up(7)));
}

TEST(profile_delete, delete_refused_by_one_daemon_is_told_by_the_bindings)
{
    const config_daemons daemons({.app = 4});
    register_ids({{0, 7}, {256, 70}, {512, 70}});
    EXPECT_EQ(
        utmctl("profile delete 7"),
        refused(8, "profile 7 was deleted in part (accepted by the content-filter and user-profile daemons; not in the "
                   "registry): the application daemon (/dev/utm_app_config_socket) refused with error code 4; the "
                   "daemon's own log tells the reason; " +
                       clean_up_again(7)));
}

TEST(profile_delete, delete_refused_by_one_daemon_without_bindings_stays_open)
{
    const config_daemons daemons({.cf = 4});
    register_ids({{0, 7}});
    EXPECT_EQ(
        utmctl("profile delete 7"),
        refused(8, "profile 7 was deleted in part (accepted by the user-profile daemon; not in the registry): the "
                   "content-filter daemon (/dev/utm_cf_config_socket) or the application daemon "
                   "(/dev/utm_app_config_socket) refused with error code 4; the daemon's own log tells the reason; " +
                       clean_up_again(7)));
}

TEST(profile_delete, delete_refused_by_both_that_hold_policies_stays_registered)
{
    const config_daemons daemons({.cf = 4, .app = 5});
    register_ids({{0, 7}});
    EXPECT_EQ(
        utmctl("profile delete 7"),
        refused(
            8,
            "profile 7 was deleted in part (accepted by the user-profile daemon; in the registry): the "
            "content-filter daemon (/dev/utm_cf_config_socket) refused with error code 4, and the application "
            "daemon (/dev/utm_app_config_socket) refused with error code 5; the daemons' own logs tell the reason\n"));
}

TEST(profile_delete, delete_refused_by_all_names_what_frees_it)
{
    const config_daemons daemons({.cf = 2, .app = 2, .user_profile = 2});
    register_ids({{0, 9}});
    EXPECT_EQ(utmctl("profile delete 9"),
              refused(1,
                      "profile 9 was not deleted: the content-filter daemon (/dev/utm_cf_config_socket) refused "
                      "with error code 2, and the application daemon (/dev/utm_app_config_socket) refused with error "
                      "code 2, and the user-profile daemon (/dev/utm_user_profile_socket) refused with error code "
                      "2; the daemons' own logs tell the reason; the registry still holds it; 'utmctl registry "
                      "release profile 9' frees it there\n"));
    EXPECT_EQ(utmctl("registry release profile 9"), (run_result{0, "profile 9 released\n", ""}));
}

TEST(profile_delete, flush_wants_a_yes)
{
    const config_daemons daemons;
    register_ids({{0, 7}, {2, 9}});
    EXPECT_EQ(
        utmctl("profile flush"),
        refused(9, "profile flush was not carried out: it destroys every profile and the policies bound to them; add "
                   "--yes if that is what you want\n"));
    EXPECT_TRUE(daemons.visits().empty());
    EXPECT_EQ(utmctl("profile flush --yes"), (run_result{0, "profile 7 deleted\nprofile 9 deleted\n", ""}));
    EXPECT_EQ(utmctl("profile flush --yes"), (run_result{0, "no profile to delete\n", ""}));
}

// The application daemon refuses to delete the first profile, and the user-profile daemon the second.
TEST(profile_delete, flush_that_succeeds_in_part_tells_of_each)
{
    using scripts = std::vector<sim::script>;
    const sim::scripted_daemon cf(cf_path, answer(0));
    const sim::scripted_daemon app(app_path, scripts{answer(4), answer(0)});
    const sim::scripted_daemon user_profile(user_profile_path, scripts{answer(0), answer(5), answer(0)});
    register_ids({{0, 7}, {1, 8}, {2, 9}, {256, 70}, {257, 71}, {768, 80}, {769, 81}});
    EXPECT_EQ(
        utmctl("profile flush --yes"),
        (run_result{
            8, "profile 9 deleted\n",
            "utmctl: profile 7 was deleted in part (accepted by the content-filter and user-profile "
            "daemons; not in the registry): the application daemon "
            "(/dev/utm_app_config_socket) refused with error code 4; the daemon's own log tells the reason; " +
                clean_up_again(7) +
                "utmctl: profile 8 was deleted in part (accepted by the content-filter and "
                "application daemons; not in the registry): the user-profile daemon "
                "(/dev/utm_user_profile_socket) refused with error code 5; the daemon's own log tells the reason; " +
                clean_up_again(8)}));
}

TEST(profile_delete, flush_tells_what_was_refused)
{
    const config_daemons daemons({.cf = 1, .app = 1, .user_profile = 1});
    register_ids({{0, 7}});
    const run_result result = utmctl("-j profile flush --yes");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find(R"("result":[{"id":7,"registered":true,"daemons":{"content_filter":"refused",)"
                              R"("application":"refused","user_profile":"refused"},"status":"refused"}])"),
              std::string::npos)
        << result;
}

} // namespace
