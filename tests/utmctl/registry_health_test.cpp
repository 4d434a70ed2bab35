#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/key_file.h"
#include "tests/sandbox/registry.h"
#include "tests/utmctl/ended_process.h"
#include "tests/utmctl/run.h"
#include "tests/utmctl/stopped_lock_holder.h"

#include <gtest/gtest.h>
#include <sys/sem.h>

// What 'registry audit' and 'registry lock-status' tell.

namespace {

constexpr char line[] = "registry audit --timeout 30";

struct wrong_slots {
    const char* name;
    std::map<size_t, uint32_t> slots;
    int status;
    std::string told;
};

void PrintTo(const wrong_slots& one, std::ostream* stream)
{
    *stream << one.name;
}

const wrong_slots cases[] = {
    {"profile_twice",
     {{1, 7}, {3, 7}, {9, 7}},
     11,
     "error: profile 7 stands in 3 slots, 1 and 3 among them; 'utmctl registry release profile 7' frees the first of "
     "them\n"},
    {"cf_policy_twice",
     {{512, 70}, {767, 70}, {0, 7}, {256, 70}},
     11,
     "error: content-filter policy 70 stands in 2 slots, 0 and 255 among them; 'utmctl registry release cf-policy 70' "
     "frees the first of them\n"},
    {"app_policy_twice",
     {{1024, 80}, {1279, 80}, {0, 7}, {768, 80}},
     11,
     "error: application policy 80 stands in 2 slots, 0 and 255 among them; 'utmctl registry release app-policy 80' "
     "frees the first of them\n"},
    {"unknown_cf_policy",
     {{5, 7}, {261, 70}},
     11,
     "error: profile 7 is bound to content-filter policy 70, which is not registered; 'utmctl profile bind-cf 7 "
     "POLICY' "
     "binds it to one that is\n"},
    {"unknown_app_policy",
     {{5, 7}, {773, 80}},
     11,
     "error: profile 7 is bound to application policy 80, which is not registered; 'utmctl profile bind-app 7 POLICY' "
     "binds it to one that is\n"},
    {"binding_of_a_free_slot",
     {{260, 70}, {512, 70}, {0, 7}, {256, 70}},
     10,
     "warning: free slot 4 of the profiles still binds content-filter policy 70, which the next profile in it takes "
     "over; after the next 'utmctl profile create', bind that profile anew with 'utmctl profile bind-cf'\n"},
    {"number_that_reads_as_a_failure",
     {{2, 0x80000000}},
     10,
     "warning: profile 2147483648 in slot 2 is above 2147483647, and reads as a failure where it is returned; have the "
     "program that reserved it take a smaller one; 'utmctl registry release profile 2147483648' frees it\n"},
    {"policy_of_no_profile",
     {{512, 70}},
     0,
     "note: content-filter policy 70 is bound to no profile; 'utmctl profile bind-cf ID 70' binds it, so that it goes "
     "with its profile\n"},
    {"policy_of_two_profiles",
     {{0, 7}, {1, 8}, {768, 80}, {769, 80}, {1024, 80}},
     0,
     "note: application policy 80 is bound to 2 profiles, and goes with the first that is deleted; give each profile a "
     "policy of its own\n"},
};

class audit_of : public testing::TestWithParam<wrong_slots> {};

TEST_P(audit_of, finds_it_alone)
{
    const config_daemons daemons;
    register_ids(GetParam().slots);
    EXPECT_EQ(utmctl(line), (run_result{GetParam().status, GetParam().told, ""}));
}

INSTANTIATE_TEST_SUITE_P(slots, audit_of, testing::ValuesIn(cases),
                         [](const auto& one) { return std::string(one.param.name); });

TEST(registry_audit, finds_a_full_kind)
{
    const config_daemons daemons;
    register_ids(full(profiles));
    EXPECT_EQ(
        utmctl(line),
        (run_result{10,
                    "warning: all 256 slots of the kind profile are taken, so none can be created; delete what is "
                    "not needed any more\n",
                    ""}));
}

TEST(registry_audit, is_silent_where_all_is_well)
{
    EXPECT_EQ(utmctl(line), (run_result{0, "there is no registry yet\n", ""}));
    EXPECT_EQ(content_of("/proc/sysvipc/sem").find('\n') + 1, content_of("/proc/sysvipc/sem").size());
    const config_daemons daemons;
    register_ids({{0, 7}, {256, 70}, {512, 70}});
    EXPECT_EQ(utmctl(line), (run_result{0, "nothing wrong\n", ""}));
    EXPECT_EQ(utmctl("-j " + std::string(line)), (run_result{0, done_line("registry audit", "[]"), ""}));
}

TEST(registry_audit, asks_the_daemons_for_each_profile)
{
    const config_daemons daemons({.cf = 0, .app = 5});
    register_ids({{0, 7}});
    EXPECT_EQ(
        utmctl("-j " + std::string(line)),
        (run_result{10,
                    R"({"command":"registry audit","status":"warning","exit":10,"result":[{"severity":"warning",)"
                    R"("what":"the application daemon refuses to tell of profile 7 with error code 5, and may not )"
                    R"(know it","remedy":"if the daemon's own log tells so, 'utmctl registry release profile 7' and )"
                    R"('utmctl profile create 7'"}],"errors":[]})"
                    "\n",
                    ""}));
    sim::bytes domains_of_7(2056);
    domains_of_7[0] = 25;
    domains_of_7[8] = 7;
    sim::bytes limit_of_7(136);
    limit_of_7[0] = 27;
    limit_of_7[8] = 7;
    EXPECT_EQ(daemons.request_of(cf_path), domains_of_7);
    EXPECT_EQ(daemons.request_of(app_path), limit_of_7);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(registry_audit, asks_no_daemon_for_what_reads_as_a_failure)
{
    const config_daemons daemons({.cf = 5, .app = 5});
    register_ids({{0, 0xffffffff}});
    EXPECT_EQ(utmctl(line),
              (run_result{10,
                          "warning: profile 4294967295 in slot 0 is above 2147483647, and reads as a failure where it "
                          "is returned; have the program that reserved it take a smaller one; 'utmctl registry "
                          "release profile 4294967295' frees it\n",
                          ""}));
    EXPECT_EQ(utmctl("registry release profile 4294967295"), (run_result{0, "profile 4294967295 released\n", ""}));
    EXPECT_EQ(utmctl(line), (run_result{0, "nothing wrong\n", ""}));
    EXPECT_EQ(daemons.told(), std::vector<std::string>{});
}

// A daemon may not bear a client that goes before the list has ended.
TEST(registry_audit, reads_a_list_to_its_end)
{
    const sim::scripted_daemon cf(cf_path, answer(records{reply(2), reply(2), reply(5)}));
    const sim::scripted_daemon app(app_path, answer(0));
    register_ids({{0, 7}});
    EXPECT_EQ(
        utmctl(line).out,
        "warning: the content-filter daemon refuses to tell of profile 7 with error code 5, and may not know it; if "
        "the daemon's own log tells so, 'utmctl registry release profile 7' and 'utmctl profile create 7'\n");
}

TEST(registry_audit, a_daemon_that_is_not_there_is_a_note)
{
    const config_daemons daemons({.cf = absent});
    register_ids({{0, 7}, {1, 8}});
    EXPECT_EQ(
        utmctl(line),
        (run_result{0,
                    "note: the profiles were not compared with those of the content-filter daemon, which cannot be "
                    "reached: No such file or directory; start the content-filter daemon\n",
                    ""}));
}

TEST(registry_audit, a_registry_that_cannot_be_read_is_told)
{
    {
        register_ids({{0, 7}});
        const stopped_lock_holder holder;
        EXPECT_EQ(utmctl("registry audit --timeout 0.2"),
                  refused(3, "the registry was not audited: " + holder.told_within("0.2")));
    }
    const missing_key_file missing;
    EXPECT_EQ(utmctl("registry audit"),
              refused(5, "the registry was not audited: the ID registry (/usr/lib/libkqutm.so) cannot be used: No such "
                         "file or directory; install the library at /usr/lib/libkqutm.so, which is its key file\n"));
}

TEST(lock_status, a_free_lock)
{
    EXPECT_EQ(utmctl("registry lock-status"), (run_result{0, "there is no registry lock yet\n", ""}));
    EXPECT_EQ(
        utmctl("-j registry lock-status"),
        (run_result{0, done_line("registry lock-status", R"({"value":null,"holder":null,"waiting":0,"waiters":[]})"),
                    ""}));
    semaphore();
    EXPECT_EQ(utmctl("registry lock-status"), (run_result{0, "the registry lock is free\n", ""}));
    EXPECT_EQ(utmctl("-j registry lock-status"),
              (run_result{0, done_line("registry lock-status", R"({"value":1,"holder":null,"waiting":0,"waiters":[]})"),
                          ""}));
}

TEST(lock_status, names_holder_and_who_waits)
{
    const stopped_lock_holder holder;
    const std::string held = std::to_string(holder.process());
    running_utmctl waiting("registry show");
    const std::string worker = std::to_string(waiting.worker());
    while (semctl(semaphore(), 0, GETNCNT, 0L) != 1)
        usleep(1000);
    EXPECT_EQ(utmctl("registry lock-status"),
              (run_result{0,
                          "process " + held + " (test_utmctl) holds the registry lock, and is stopped\nprocess " +
                              worker + " (utmctl) waits for it\n",
                          ""}));
    EXPECT_EQ(utmctl("-j registry lock-status"),
              (run_result{0,
                          done_line("registry lock-status",
                                    R"({"value":0,"holder":{"pid":)" + held +
                                        R"(,"name":"test_utmctl","state":"stopped"},"waiting":1,"waiters":[{"pid":)" +
                                        worker + R"(,"name":"utmctl"}]})"),
                          ""}));
    kill(waiting.process(), SIGKILL);
    waiting.wait();
}

TEST(lock_status, a_lock_that_several_may_hold)
{
    semctl(semaphore(), 0, SETVAL, 2L);
    EXPECT_EQ(utmctl("registry lock-status"),
              (run_result{0,
                          "the registry lock has the value 2 instead of 0 or 1, so that several processes may hold it "
                          "at once\n",
                          ""}));
    EXPECT_EQ(utmctl("-j registry lock-status"),
              (run_result{0, done_line("registry lock-status", R"({"value":2,"holder":null,"waiting":0,"waiters":[]})"),
                          ""}));
}

TEST(lock_status, a_lock_of_a_process_that_has_ended)
{
    const std::string process = std::to_string(process_that_took_the_lock_for_good());
    const std::string holder = "process " + process + " (of unknown name) has ended without giving ";
    EXPECT_EQ(utmctl("registry lock-status"), (run_result{0, holder + "back the registry lock\n", ""}));
    EXPECT_EQ(utmctl("-j registry lock-status"),
              (run_result{0,
                          done_line("registry lock-status", R"({"value":0,"holder":{"pid":)" + process +
                                                                R"(,"name":"","state":"ended"},"waiting":0,)"
                                                                R"("waiters":[]})"),
                          ""}));
    EXPECT_EQ(utmctl("--timeout 0.1 registry show"),
              refused(3, "the registry was not shown: the registry lock was not given within 0.1 s: " + holder +
                             "it back; restart the gateway, then run the command again\n"));
}

TEST(lock_status, a_missing_key_file_is_told)
{
    const missing_key_file missing;
    EXPECT_EQ(
        utmctl("registry lock-status"),
        refused(5,
                "the registry lock was not looked at: the ID registry (/usr/lib/libkqutm.so) cannot be used: No such "
                "file or directory; install the library at /usr/lib/libkqutm.so, which is its key file\n"));
}

} // namespace
