#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/paths.h"
#include "tests/sandbox/registry.h"
#include "tests/utmctl/profile_texts.h"
#include "tests/utmctl/run.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

TEST(profile_create, a_daemon_that_does_not_answer)
{
    const sim::scripted_daemon cf(cf_path, answer(0));
    const sim::scripted_daemon user_profile(user_profile_path, answer(0));
    const sim::scripted_daemon app(app_path, sim::script{sim::receive(), sim::await_close()});
    EXPECT_EQ(
        utmctl("profile create 7"),
        refused(3, "profile 7 was not created (accepted by the content-filter and user-profile daemons; not in the "
                   "registry): the application daemon (/dev/utm_app_config_socket) did not answer in time; find out "
                   "why the application daemon hangs, or start it again, then " +
                       clean_up(7)));
}

TEST(profile_create, create_prints_the_identifier)
{
    const config_daemons daemons;
    EXPECT_EQ(utmctl("profile create 7"), (run_result{0, "7\n", ""}));
    EXPECT_EQ(utmctl("-q profile create 8"), (run_result{0, "8\n", ""}));
    EXPECT_EQ(daemons.visits().size(), 6U);
}

TEST(profile_create, create_takes_an_identifier_from_the_clock)
{
    const config_daemons daemons;
    const time_t before = time(nullptr);
    const run_result none = utmctl("profile create");
    const run_result zero = utmctl("profile create 0");
    EXPECT_EQ(none.status, 0);
    EXPECT_GE(std::stol(none.out), before);
    EXPECT_GT(std::stol(zero.out), std::stol(none.out));
}

TEST(profile_create, create_in_json)
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

TEST(profile_create, an_identifier_that_is_taken_is_refused)
{
    const config_daemons daemons;
    register_ids({{0, 7}});
    EXPECT_EQ(utmctl("profile create 7"),
              refused(1, "profile 7 was not created: the ID registry holds that identifier already; choose another "
                         "identifier, or none to get one from the clock\n"));
    EXPECT_TRUE(daemons.visits().empty());
}

TEST(profile_create, a_full_registry_refuses)
{
    const config_daemons daemons;
    register_ids(full(profiles));
    EXPECT_EQ(
        utmctl("profile create 7000"),
        refused(1, "profile 7000 was not created: the ID registry holds 256 of them, and has no free slot; delete one "
                   "that is not needed any more\n"));
}

TEST(profile_create, create_refused_by_the_application_daemon_tells_what_is_left)
{
    const config_daemons daemons({.app = 3});
    EXPECT_EQ(
        utmctl("profile create 7"),
        refused(1, "profile 7 was not created (accepted by the content-filter and user-profile daemons; not in the "
                   "registry): the application daemon (/dev/utm_app_config_socket) refused with error code 3; the "
                   "daemon's own log tells the reason; " +
                       clean_up(7)));
}

TEST(profile_create, create_with_no_daemon_at_all_tells_all_three)
{
    EXPECT_EQ(utmctl("profile create 7"),
              refused(4, std::string("profile 7 was not created: ") + cf_missing + ", and " + app_missing + ", and " +
                             user_profile_missing + "; start each of these daemons, then run the command again\n"));
}

// It is there, but takes no connection of this kind: something else has made it.
TEST(profile_create, create_with_a_socket_of_the_wrong_type)
{
    const config_daemons daemons({.cf = absent});
    const int other = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = {}};
    strcpy(address.sun_path, cf_path);
    ASSERT_EQ(bind(other, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(utmctl("profile create 7"),
              (run_result{8, "7\n",
                          "utmctl: profile 7 was created in part (accepted by the application and user-profile "
                          "daemons; not in the registry): the content-filter daemon (/dev/utm_cf_config_socket) cannot "
                          "be reached: Protocol wrong type for socket; start the content-filter daemon again, then " +
                              clean_up(7)}));
    close(other);
}

// What refuses may have the profile already: to create it again is not enough.
TEST(profile_create, create_refused_by_those_that_are_reached_is_cleared_first)
{
    const std::string refused_3 = "refused with error code 3";
    const std::string both = "the content-filter daemon (/dev/utm_cf_config_socket) " + refused_3;
    const std::string last = "the user-profile daemon (/dev/utm_user_profile_socket) " + refused_3;
    const std::string clearing = "clear what is left with 'utmctl registry reserve profile 7' and 'utmctl profile "
                                 "delete 7', and create it again\n";
    const config_daemons daemons({.cf = 3, .app = absent, .user_profile = 3});
    EXPECT_EQ(utmctl("profile create 7"),
              refused(4, "profile 7 was not created: " + both + ", and " + app_missing + ", and " + last +
                             "; start the application daemon, then " + clearing));
}

TEST(profile_create, create_refused_by_all_names_their_logs)
{
    const config_daemons daemons({.cf = 3, .app = 3, .user_profile = 3});
    EXPECT_EQ(utmctl("profile create 7"),
              refused(1,
                      "profile 7 was not created: the content-filter daemon (/dev/utm_cf_config_socket) refused with "
                      "error code 3, and the application daemon (/dev/utm_app_config_socket) refused with error code "
                      "3, and the user-profile daemon (/dev/utm_user_profile_socket) refused with error code 3; the "
                      "daemons' own logs tell the reason\n"));
}

TEST(profile_create, create_without_the_application_daemon)
{
    const config_daemons daemons({.app = absent});
    EXPECT_EQ(
        utmctl("profile create 7"),
        refused(4, std::string("profile 7 was not created (accepted by the content-filter and user-profile daemons; "
                               "not in the registry): ") +
                       app_missing + "; start the application daemon, then " + clean_up(7)));
}

// The library returns an identifier that it has released again.
TEST(profile_create, create_refused_by_another_daemon_is_done_in_part)
{
    const config_daemons daemons({.cf = 5});
    EXPECT_EQ(utmctl("profile create 7"),
              (run_result{
                  8, "7\n",
                  "utmctl: profile 7 was created in part (accepted by the application daemon; not in the registry): "
                  "the content-filter daemon (/dev/utm_cf_config_socket) or the user-profile daemon "
                  "(/dev/utm_user_profile_socket) refused with error code 5; the daemon's own log tells the reason; " +
                      clean_up(7)}));
}

TEST(profile_create, create_without_another_daemon_tells_which)
{
    const config_daemons daemons({.cf = absent});
    EXPECT_EQ(
        utmctl("profile create 7"),
        (run_result{8, "7\n",
                    std::string("utmctl: profile 7 was created in part (accepted by the application and user-profile "
                                "daemons; not in the registry): ") +
                        cf_missing + "; start the content-filter daemon, then " + clean_up(7)}));
}

TEST(profile_create, create_refused_by_both_others)
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

// Lines of the transport do not tell whose they are.
sim::step log_of_other_programs(const std::string& lines)
{
    return [lines](const sim::conversation&) {
        std::filesystem::create_directories("/tmp/utm_log");
        std::ofstream("/tmp/utm_log/utm_libappcf_config_log", std::ios::app) << lines;
    };
}

TEST(profile_create, what_other_programs_log_meanwhile_is_told_once)
{
    const std::string line = "[send_utm_config_event]error code = 9\n";
    sim::script refusal = answer(5);
    refusal.insert(refusal.begin(), log_of_other_programs(line + line + line));
    const sim::scripted_daemon cf(cf_path, refusal);
    const sim::scripted_daemon user_profile(user_profile_path, answer(0));
    const sim::scripted_daemon app(app_path, answer(0));
    const std::string either = "the content-filter daemon (/dev/utm_cf_config_socket) or the user-profile daemon "
                               "(/dev/utm_user_profile_socket) refused with error code ";
    EXPECT_EQ(
        utmctl("profile create 7"),
        (run_result{8, "7\n",
                    "utmctl: profile 7 was created in part (accepted by the application daemon; not in the "
                    "registry): " +
                        either + "9, and " + either + "5; the daemons' own logs tell the reason; " + clean_up(7)}));
}

TEST(profile_create, a_record_of_the_wrong_size_is_a_protocol_error)
{
    const sim::scripted_daemon cf(cf_path, answer(0));
    const sim::scripted_daemon user_profile(user_profile_path, answer(0));
    const sim::scripted_daemon app(app_path, sim::script{sim::receive(), sim::send(sim::bytes(831))});
    EXPECT_EQ(
        utmctl("profile create 7"),
        refused(7, "profile 7 was not created (accepted by the content-filter and user-profile daemons; not in the "
                   "registry): the application daemon (/dev/utm_app_config_socket) ended the connection or answered "
                   "with a record of the wrong size; check that the application daemon and the library are of one "
                   "version, then " +
                       clean_up(7)));
}

TEST(profile_create, the_deadline_ends_a_call)
{
    const sim::scripted_daemon cf(cf_path, sim::script{sim::receive(), sim::await_close()});
    EXPECT_EQ(utmctl("--timeout 0.5 profile create 7"),
              refused(3,
                      "profile 7 may have been created: the content-filter daemon (/dev/utm_cf_config_socket) or the "
                      "application daemon (/dev/utm_app_config_socket) or the user-profile daemon "
                      "(/dev/utm_user_profile_socket) did not answer within 0.5 s, and the call was ended; find out "
                      "why the daemon hangs, or start it again; --timeout sets a longer limit\n"));
}

TEST(profile_create, a_failed_first_clearing_is_told)
{
    const config_daemons daemons;
    ASSERT_EQ(symlink("/proc/no/such/file", registry_marker), 0);
    EXPECT_EQ(
        utmctl("profile create 7"),
        refused(5,
                "profile 7 was not created: the ID registry (/usr/lib/libkqutm.so) cannot be cleared for its first "
                "use: No such file or directory; look with 'ipcs -sm' whose semaphore and segment are in the way\n"));
}

} // namespace
