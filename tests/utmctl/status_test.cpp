#include "kqutm/daemon.h"

#include "tests/sandbox/files.h"
#include "tests/utmctl/run.h"
#include "tests/utmctl/seven_daemons.h"
#include "tests/utmctl/stopped_daemon.h"

#include <atomic>
#include <filesystem>
#include <gtest/gtest.h>
#include <regex>
#include <thread>

namespace {

// With T for times, P for this process's number, and one blank for several.
run_result without_numbers(run_result told)
{
    told.out = std::regex_replace(told.out, std::regex("( +|:)[0-9]+\\.[0-9]"), "$1T");
    told.out = std::regex_replace(told.out, std::regex("( |:)" + std::to_string(getpid()) + "\\b"), "$1P");
    told.out = std::regex_replace(told.out, std::regex(" +"), " ");
    return told;
}

std::string in_json(const std::string& name, const std::string& path, const std::string& state,
                    const std::string& rest = R"("milliseconds":T,"pid":P,"process":"test_utmctl")")
{
    return R"({"daemon":")" + name + R"(","socket":")" + path + R"(","state":")" + state + R"(",)" + rest + "}";
}

constexpr char nobody[] = R"("milliseconds":null,"pid":null,"process":null)";
constexpr char no_time[] = R"("milliseconds":null,"pid":P,"process":"test_utmctl")";

TEST(status, shows_all_seven)
{
    const seven_daemons all;
    EXPECT_EQ(without_numbers(utmctl("status")), (run_result{0,
                                                             "DAEMON STATE MS PID PROCESS\n"
                                                             "cf answers T P test_utmctl\n"
                                                             "app answers T P test_utmctl\n"
                                                             "user_profile connects T P test_utmctl\n"
                                                             "ips answers T P test_utmctl\n"
                                                             "devid answers T P test_utmctl\n"
                                                             "av answers T P test_utmctl\n"
                                                             "ir answers T P test_utmctl\n",
                                                             ""}));
    EXPECT_EQ(
        without_numbers(utmctl("-j status")),
        (run_result{
            0,
            done_line("status", "[" + in_json("cf", cf_path, "answers") + "," + in_json("app", app_path, "answers") +
                                    "," + in_json("user_profile", user_profile_path, "connects") + "," +
                                    in_json("ips", ips.path, "answers") + "," +
                                    in_json("devid", devid.path, "answers") + "," + in_json("av", av.path, "answers") +
                                    "," + in_json("ir", ir.path, "answers") + "]"),
            ""}));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(status, asks_what_changes_nothing)
{
    const config_daemons config;
    const engine_daemon the_ips(ips, answer_with(reply_of(ips, 0)));
    const engine_daemon the_devid(devid, answer_with(reply_of(devid, 0)));
    const engine_daemon the_av(av, answer_with(reply_of(av, 0)));
    const engine_daemon the_ir(ir, answer_with(reply_of(ir, 0)));
    EXPECT_EQ(utmctl("status").status, 0);
    sim::bytes domains_of_profile_0(2056);
    domains_of_profile_0[0] = 25;
    sim::bytes status_of_application(136);
    status_of_application[0] = 47;
    EXPECT_EQ(config.request_of(cf_path), domains_of_profile_0);
    EXPECT_EQ(config.request_of(app_path), status_of_application);
    EXPECT_EQ(config.request_of(user_profile_path), sim::bytes());
    EXPECT_EQ(the_ips.requests(), records{request_to(ips, {{0, 2}})});
    EXPECT_EQ(the_devid.requests(), records{request_to(devid, {{0, 6}})});
    EXPECT_EQ(the_av.requests(), records{request_to(av, {{0, 1}})});
    EXPECT_EQ(the_ir.requests(), records{request_to(ir, {{0, 19}})});
}

TEST(status, a_refusal_is_an_answer)
{
    const seven_daemons all({}, {{cf_path, answer(5)}, {av.path, answer_with(reply_of(av, minus_one))}});
    EXPECT_EQ(utmctl("status").status, 0);
}

TEST(status, each_failure_has_its_state)
{
    const seven_daemons all({cf_path}, {{ips.path, {sim::receive(), sim::await_close()}},
                                        {devid.path, {sim::receive()}},
                                        {ir.path, {sim::receive(), sim::send(sim::bytes(15))}}});
    const run_result told = without_numbers(utmctl("status --timeout 1"));
    EXPECT_EQ(
        told,
        (run_result{7,
                    "DAEMON STATE MS PID PROCESS\n"
                    "cf unreachable - - -\n"
                    "app answers T P test_utmctl\n"
                    "user_profile connects T P test_utmctl\n"
                    "ips no-answer - P test_utmctl\n"
                    "devid protocol-error - P test_utmctl\n"
                    "av answers T P test_utmctl\n"
                    "ir protocol-error - P test_utmctl\n",
                    "utmctl: cf is not ready: the content-filter daemon (/dev/utm_cf_config_socket) cannot be "
                    "reached: No such file or directory; start the content-filter daemon\n"
                    "utmctl: ips is not ready: the IPS daemon (/tmp/utm_ips) did not answer in time; find out why "
                    "the IPS daemon hangs, or start it again\n"
                    "utmctl: devid is not ready: the device-identification daemon (/tmp/utm_devid) ended the "
                    "connection without an answer; find out why the device-identification daemon breaks off, or start "
                    "it again\n"
                    "utmctl: ir is not ready: the IR daemon (/tmp/utm_ir) answered with a record of the wrong size; "
                    "check that the IR daemon and the library are of one version\n"}));
}

TEST(status, a_list_without_end_is_a_cause_of_its_own)
{
    std::atomic<bool> over = false;
    const sim::step send_until_over = [&over](const sim::conversation& client) {
        sim::bytes entry(832);
        entry[0] = UTM_RESPONSE_MORE;
        while (!over)
            client.send(entry);
    };
    const sim::scripted_daemon cf(cf_path, sim::script{sim::receive(), send_until_over});
    EXPECT_EQ(utmctl("wait cf --timeout 1"),
              refused(7, "cf was not ready within 1 s: the content-filter daemon (/dev/utm_cf_config_socket) sends a "
                         "list without end; find out why the content-filter daemon does not end its list, or start it "
                         "again\n"));
    over = true;
}

// Nothing can be asked of the user-profile daemon, and the kernel takes connections for a stopped process, too.
TEST(status, a_stopped_user_profile_daemon_is_not_ready)
{
    const seven_daemons all({user_profile_path});
    const stopped_daemon stopped(user_profile_path);
    const std::string number = std::to_string(stopped.process());
    const std::string sentence = "the user-profile daemon (/dev/utm_user_profile_socket) takes connections, but does "
                                 "not answer: process " +
                                 number + " (test_utmctl) is stopped; continue it with 'kill -CONT " + number + "'\n";
    const run_result told = without_numbers(utmctl("status"));
    EXPECT_NE(told.out.find("\nuser_profile no-answer - " + number + " test_utmctl\n"), std::string::npos) << told;
    EXPECT_EQ(told.status, 3);
    EXPECT_EQ(told.err, "utmctl: user_profile is not ready: " + sentence);
    EXPECT_EQ(utmctl("wait user_profile --timeout 0.1"),
              refused(3, "user_profile was not ready within 0.1 s: " + sentence));
    EXPECT_EQ(
        utmctl("-j wait user_profile --timeout 0.1")
            .out.find(R"({"command":"wait","status":"no-answer","exit":3,"result":[{"daemon":"user_profile",)"
                      R"("socket":"/dev/utm_user_profile_socket","state":"no-answer","milliseconds":null,"pid":)" +
                      number + R"(,"process":"test_utmctl"}],)"),
        0U);
    EXPECT_EQ(utmctl("profile create 7 --wait 0.1"),
              refused(4, "profile create was not begun within 0.1 s: " + sentence.substr(0, sentence.size() - 1) +
                             ", then run the command again\n"));
}

TEST(status, failures_in_json)
{
    const seven_daemons all({av.path}, {{ips.path, {sim::receive(), sim::await_close()}}});
    const run_result told = without_numbers(utmctl("-j status --timeout 1"));
    EXPECT_TRUE(told.out.starts_with(R"({"command":"status","status":"unreachable","exit":4,"result":[)")) << told;
    EXPECT_NE(told.out.find(in_json("ips", ips.path, "no-answer", no_time)), std::string::npos) << told;
    EXPECT_NE(told.out.find(in_json("av", av.path, "unreachable", nobody)), std::string::npos) << told;
}

TEST(status, waits_for_the_daemons_named)
{
    const seven_daemons all({cf_path});
    EXPECT_EQ(utmctl("wait ips user_profile ips"), (run_result{0, "user_profile connects\nips answers\n", ""}));
    EXPECT_EQ(without_numbers(utmctl("-j wait av")),
              (run_result{0, done_line("wait", "[" + in_json("av", av.path, "answers") + "]"), ""}));
    EXPECT_EQ(utmctl("-q wait ips"), (run_result{0, "", ""}));
}

TEST(status, a_wait_ends_when_the_last_daemon_comes)
{
    const seven_daemons all({ir.path});
    running_utmctl waiting("wait all");
    // Not before it has begun to ask: the others have been asked by then.
    const std::string attempts = "/proc/" + std::to_string(waiting.process()) + "/task";
    while (std::distance(std::filesystem::directory_iterator(attempts), std::filesystem::directory_iterator()) < 2)
        usleep(1000);
    const engine_daemon the_ir(ir, answer_with(reply_of(ir, 0)));
    EXPECT_EQ(waiting.wait(), (run_result{0,
                                          "cf answers\napp answers\nuser_profile connects\nips answers\n"
                                          "devid answers\nav answers\nir answers\n",
                                          ""}));
}

TEST(status, a_wait_in_vain_ends_with_the_highest_status)
{
    const seven_daemons all({cf_path}, {{ips.path, {sim::receive(), sim::await_close()}}});
    EXPECT_EQ(utmctl("wait cf ips av --timeout 1"),
              (run_result{4, "av answers\n",
                          "utmctl: cf was not ready within 1 s: the content-filter daemon (/dev/utm_cf_config_socket) "
                          "cannot be reached: No such file or directory; start the content-filter daemon\n"
                          "utmctl: ips was not ready within 1 s: the IPS daemon (/tmp/utm_ips) did not answer in time; "
                          "find out why the IPS daemon hangs, or start it again\n"}));
}

TEST(status, a_daemon_that_does_not_exist_is_refused)
{
    EXPECT_EQ(
        utmctl("wait dns"),
        refused(2, "wait: DAEMON: 'dns' is no daemon: cf, app, user_profile, ips, devid, av, ir, or all of them with "
                   "all; 'utmctl help wait' tells what it takes\n"));
}

} // namespace
