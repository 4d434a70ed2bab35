#include "kqutm/profile.h"

#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/registry.h"
#include "tests/utmctl/run.h"

#include <gtest/gtest.h>

namespace {

constexpr char cf_missing[] =
    "the content-filter daemon (/dev/utm_cf_config_socket) cannot be reached: No such file or directory";
constexpr char app_missing[] =
    "the application daemon (/dev/utm_app_config_socket) cannot be reached: No such file or directory";
constexpr char user_profile_missing[] =
    "the user-profile daemon (/dev/utm_user_profile_socket) cannot be reached: No such file or directory";

std::string clean_up(int id)
{
    const std::string number = std::to_string(id);
    return "clear what is left with 'utmctl registry reserve profile " + number + "' and 'utmctl profile delete " +
           number + "'\n";
}

// Registers identifiers and bindings without clearing them at the first use.
void register_ids(const std::map<size_t, uint32_t>& values)
{
    write_file("/tmp/utm_user_profile_shm", "");
    set_slots(values);
}

run_result refused(int status, const std::string& error)
{
    return {status, "", "utmctl: " + error};
}

TEST(profile, create_prints_the_identifier)
{
    const config_daemons daemons;
    EXPECT_EQ(utmctl("profile create 7"), (run_result{0, "7\n", ""}));
    EXPECT_EQ(utmctl("-q profile create 8"), (run_result{0, "8\n", ""}));
    EXPECT_EQ(daemons.visits().size(), 6U);
}

TEST(profile, create_takes_an_identifier_from_the_clock)
{
    const config_daemons daemons;
    const time_t before = time(nullptr);
    const run_result none = utmctl("profile create");
    const run_result zero = utmctl("profile create 0");
    EXPECT_EQ(none.status, 0);
    EXPECT_GE(std::stol(none.out), before);
    EXPECT_GT(std::stol(zero.out), std::stol(none.out));
}

TEST(profile, create_in_json)
{
    const config_daemons daemons;
    EXPECT_EQ(
        utmctl("-j profile create 7"),
        (run_result{0,
                    R"({"command":"profile create","status":"done","exit":0,"result":{"id":7,"registered":true,)"
                    R"("daemons":{"content_filter":"accepted","application":"accepted","user_profile":"accepted"},)"
                    R"("status":"done"},"errors":[]})"
                    "\n",
                    ""}));
}

TEST(profile, an_identifier_that_is_taken_is_refused)
{
    const config_daemons daemons;
    register_ids({{0, 7}});
    EXPECT_EQ(utmctl("profile create 7"),
              refused(1, "profile 7 was not created: the ID registry holds that identifier already; choose another "
                         "identifier, or none to get one from the clock\n"));
    EXPECT_TRUE(daemons.visits().empty());
}

TEST(profile, a_full_registry_refuses)
{
    const config_daemons daemons;
    std::map<size_t, uint32_t> all;
    for (uint32_t slot = 0; slot < 256; ++slot)
        all[slot] = slot + 1;
    register_ids(all);
    EXPECT_EQ(
        utmctl("profile create 7000"),
        refused(1, "profile 7000 was not created: the ID registry holds 256 of them, and has no free slot; delete one "
                   "that is not needed any more\n"));
}

TEST(profile, create_refused_by_the_application_daemon_tells_what_is_left)
{
    const config_daemons daemons({.app = 3});
    EXPECT_EQ(
        utmctl("profile create 7"),
        refused(1, "profile 7 was not created (accepted by the content-filter and user-profile daemons; not in the "
                   "registry): the application daemon (/dev/utm_app_config_socket) refused with error code 3; ask the "
                   "daemon's own log for the reason, then " +
                       clean_up(7)));
}

TEST(profile, create_with_no_daemon_at_all_tells_all_three)
{
    EXPECT_EQ(utmctl("profile create 7"),
              refused(4, std::string("profile 7 was not created: ") + cf_missing + ", and " + app_missing + ", and " +
                             user_profile_missing + "; start what cannot be reached, then run the command again\n"));
}

TEST(profile, create_without_the_application_daemon)
{
    const config_daemons daemons({.app = absent});
    EXPECT_EQ(
        utmctl("profile create 7"),
        refused(4, std::string("profile 7 was not created (accepted by the content-filter and user-profile daemons; "
                               "not in the registry): ") +
                       app_missing + "; start what cannot be reached, then " + clean_up(7)));
}

// The library returns an identifier that it has released again.
TEST(profile, create_refused_by_another_daemon_is_done_in_part)
{
    const config_daemons daemons({.cf = 5});
    EXPECT_EQ(
        utmctl("profile create 7"),
        (run_result{8, "7\n",
                    "utmctl: profile 7 was created in part (accepted by the application daemon; not in the registry): "
                    "the content-filter or the user-profile daemon refused with error code 5; ask the daemon's own log "
                    "for the reason, then " +
                        clean_up(7)}));
}

TEST(profile, create_without_another_daemon_tells_which)
{
    const config_daemons daemons({.cf = absent});
    EXPECT_EQ(
        utmctl("profile create 7"),
        (run_result{8, "7\n",
                    std::string("utmctl: profile 7 was created in part (accepted by the application and user-profile "
                                "daemons; not in the registry): ") +
                        cf_missing + "; start what cannot be reached, then " + clean_up(7)}));
}

TEST(profile, create_refused_by_both_others)
{
    const config_daemons daemons({.cf = 5, .user_profile = 6});
    const run_result result = utmctl("-j profile create 7");
    EXPECT_EQ(result.status, 8);
    EXPECT_NE(
        result.out.find(R"("daemons":{"content_filter":"refused","application":"accepted","user_profile":"refused"})"),
        std::string::npos)
        << result;
    EXPECT_NE(result.err.find("(/dev/utm_cf_config_socket) refused with error code 5, and the user-profile daemon "
                              "(/dev/utm_user_profile_socket) refused with error code 6"),
              std::string::npos)
        << result;
}

TEST(profile, a_record_of_the_wrong_size_is_a_protocol_error)
{
    const sim::scripted_daemon cf(cf_path, answer(0));
    const sim::scripted_daemon user_profile(user_profile_path, answer(0));
    const sim::scripted_daemon app(app_path, sim::script{sim::receive(), sim::send(sim::bytes(831))});
    EXPECT_EQ(
        utmctl("profile create 7"),
        refused(7, "profile 7 was not created (accepted by the content-filter and user-profile daemons; not in the "
                   "registry): the application daemon (/dev/utm_app_config_socket) ended the connection or answered "
                   "with a record of the wrong size; check that the daemon and the library are of one version, then " +
                       clean_up(7)));
}

TEST(profile, a_daemon_that_does_not_answer)
{
    const sim::scripted_daemon cf(cf_path, answer(0));
    const sim::scripted_daemon user_profile(user_profile_path, answer(0));
    const sim::scripted_daemon app(app_path, sim::script{sim::receive(), sim::await_close()});
    EXPECT_EQ(
        utmctl("profile create 7"),
        refused(3, "profile 7 was not created (accepted by the content-filter and user-profile daemons; not in the "
                   "registry): the application daemon (/dev/utm_app_config_socket) did not answer in time; find out "
                   "why the daemon hangs, then " +
                       clean_up(7)));
}

TEST(profile, the_deadline_ends_a_call)
{
    const sim::scripted_daemon cf(cf_path, sim::script{sim::receive(), sim::await_close()});
    EXPECT_EQ(
        utmctl("--timeout 0.5 profile create 7"),
        refused(3, "profile 7 may have been created: the library has not come back within 0.5 s; the call was ended "
                   "and may have been carried out in part: 'utmctl registry show' tells what the registry holds, and "
                   "--timeout sets a longer limit\n"));
}

TEST(profile, a_failed_first_clearing_is_told)
{
    const config_daemons daemons;
    ASSERT_EQ(symlink("/proc/no/such/file", "/tmp/utm_user_profile_shm"), 0);
    EXPECT_EQ(
        utmctl("profile create 7"),
        refused(5,
                "profile 7 was not created: the ID registry (/usr/lib/libkqutm.so) cannot be cleared for its first "
                "use: No such file or directory; look with 'ipcs -sm' whose semaphore and segment are in the way\n"));
}

TEST(profile, delete_goes_through_all)
{
    const config_daemons daemons;
    register_ids({{0, 7}, {1, 8}});
    EXPECT_EQ(utmctl("profile delete 7 8"), (run_result{0, "profile 7 deleted\nprofile 8 deleted\n", ""}));
    register_ids({{0, 7}});
    EXPECT_EQ(utmctl("-q profile delete 7"), (run_result{0, "", ""}));
}

TEST(profile, delete_of_unknown_ones)
{
    const config_daemons daemons;
    register_ids({{0, 7}});
    const std::string unknown =
        "profile 9 was not deleted: the ID registry does not know it, and nothing was sent; 'utmctl "
        "profile list' tells which profiles there are\n";
    EXPECT_EQ(utmctl("profile delete 9"), refused(6, unknown));
    EXPECT_EQ(utmctl("profile delete 9 7"), (run_result{8, "profile 7 deleted\n", "utmctl: " + unknown}));
}

TEST(profile, delete_with_a_missing_socket_is_no_unknown_identifier)
{
    const config_daemons daemons({.user_profile = absent});
    register_ids({{0, 7}});
    EXPECT_EQ(
        utmctl("profile delete 7"),
        refused(4, std::string("profile 7 was not deleted (accepted by the content-filter and application daemons; not "
                               "in the registry): ") +
                       user_profile_missing + "; start what cannot be reached, then " + clean_up(7)));
}

TEST(profile, delete_refused_by_one_daemon_is_told_by_the_bindings)
{
    const config_daemons daemons({.app = 4});
    register_ids({{0, 7}, {256, 70}, {512, 70}});
    EXPECT_EQ(
        utmctl("profile delete 7"),
        refused(8, "profile 7 was deleted in part (accepted by the content-filter and user-profile daemons; not in the "
                   "registry): the application daemon (/dev/utm_app_config_socket) refused with error code 4; ask the "
                   "daemon's own log for the reason, then " +
                       clean_up(7)));
}

TEST(profile, delete_refused_by_one_daemon_without_bindings_stays_open)
{
    const config_daemons daemons({.cf = 4});
    register_ids({{0, 7}});
    EXPECT_EQ(
        utmctl("profile delete 7"),
        refused(8, "profile 7 was deleted in part (accepted by the user-profile daemon; not in the registry): the "
                   "content-filter or the application daemon refused with error code 4; ask the daemon's own log for "
                   "the reason, then " +
                       clean_up(7)));
}

TEST(profile, delete_refused_by_both_that_hold_policies_stays_registered)
{
    const config_daemons daemons({.cf = 4, .app = 5});
    register_ids({{0, 7}});
    EXPECT_EQ(
        utmctl("profile delete 7"),
        refused(8, "profile 7 was deleted in part (accepted by the user-profile daemon; in the registry): the "
                   "content-filter daemon (/dev/utm_cf_config_socket) refused with error code 4, and the application "
                   "daemon (/dev/utm_app_config_socket) refused with error code 5; ask the daemon's own log for the "
                   "reason, then run the command again\n"));
}

TEST(profile, devices_travel_as_six_bytes)
{
    const config_daemons daemons;
    register_ids({{0, 7}});
    EXPECT_EQ(utmctl("profile add-device 7 02:42:ac:11:00:05 02-42-AC-11-00-06"),
              (run_result{0, "02:42:ac:11:00:05 added to profile 7\n02-42-AC-11-00-06 added to profile 7\n", ""}));
    const sim::bytes last = daemons.request_of(user_profile_path);
    EXPECT_EQ(sim::bytes(last.begin() + 8, last.begin() + 14), (sim::bytes{0x02, 0x42, 0xac, 0x11, 0x00, 0x06}));
    EXPECT_EQ(utmctl("profile del-device 7 02:42:ac:11:00:05"),
              (run_result{0, "02:42:ac:11:00:05 removed from profile 7\n", ""}));
}

TEST(profile, a_device_refused_by_one_daemon)
{
    const config_daemons daemons({.app = 2});
    register_ids({{0, 7}});
    EXPECT_EQ(
        utmctl("profile add-device 7 02:42:ac:11:00:05"),
        refused(8, "02:42:ac:11:00:05 was added to profile 7 in part (accepted by the content-filter and user-profile "
                   "daemons; in the registry): the application daemon (/dev/utm_app_config_socket) refused with error "
                   "code 2; ask the daemon's own log for the reason, then run the command again\n"));
}

TEST(profile, a_device_refused_by_the_deciding_daemon)
{
    const config_daemons daemons({.cf = 1, .user_profile = 2});
    register_ids({{0, 7}});
    EXPECT_EQ(
        utmctl("profile del-device 7 02:42:ac:11:00:05"),
        refused(1,
                "02:42:ac:11:00:05 was not removed from profile 7 (accepted by the application daemon; in the "
                "registry): the content-filter daemon (/dev/utm_cf_config_socket) refused with error code 1, and the "
                "user-profile daemon (/dev/utm_user_profile_socket) refused with error code 2; ask the daemon's own "
                "log for the reason, then run the command again\n"));
}

TEST(profile, the_log_is_followed_through_its_rotation)
{
    const config_daemons daemons({.cf = 1});
    register_ids({{0, 7}});
    make_sparse_file("/tmp/utm_log/utm_libappcf_config_log", 5 * 1024 * 1024 + 1);
    EXPECT_EQ(utmctl("profile add-device 7 02:42:ac:11:00:05").status, 8);
    EXPECT_TRUE(exists("/tmp/utm_log/utm_libappcf_config_log2"));
}

TEST(profile, list_shows_the_bindings)
{
    EXPECT_EQ(utmctl("profile list"), (run_result{0, "ID CF-POLICY APP-POLICY\n", ""}));
    register_ids({{0, 7}, {3, 8}, {259, 70}, {771, 80}});
    EXPECT_EQ(utmctl("profile list"), (run_result{0,
                                                  "ID CF-POLICY APP-POLICY\n"
                                                  "7  -         -\n"
                                                  "8  70        80\n",
                                                  ""}));
    EXPECT_EQ(utmctl("--no-headers profile list"), (run_result{0, "7  -         -\n8  70        80\n", ""}));
    EXPECT_EQ(utmctl("profile list -j"), (run_result{0,
                                                     R"({"command":"profile list","status":"done","exit":0,"result":[)"
                                                     R"({"slot":0,"id":7,"cf_policy":null,"app_policy":null},)"
                                                     R"({"slot":3,"id":8,"cf_policy":70,"app_policy":80}],"errors":[]})"
                                                     "\n",
                                                     ""}));
}

TEST(profile, flush_wants_a_yes)
{
    const config_daemons daemons;
    register_ids({{0, 7}, {2, 9}});
    EXPECT_EQ(
        utmctl("profile flush"),
        refused(9, "profile flush destroys every profile and the policies bound to them, and was not carried out; add "
                   "--yes if that is what you want\n"));
    EXPECT_TRUE(daemons.visits().empty());
    EXPECT_EQ(utmctl("profile flush --yes"), (run_result{0, "profile 7 deleted\nprofile 9 deleted\n", ""}));
    EXPECT_EQ(utmctl("profile flush --yes"), (run_result{0, "no profile to delete\n", ""}));
}

TEST(profile, flush_tells_what_was_refused)
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
