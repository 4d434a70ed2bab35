// No operation prints anything: what there is to say goes into the log.

#include "kqutm/daemon.h"
#include "kqutm/profile.h"

#include "tests/sandbox/printed.h"
#include "tests/sandbox/profiles.h"
#include "tests/sandbox/reader.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

constexpr uint8_t mac[6] = {1, 2, 3, 4, 5, 6};

void run_profile_operations()
{
    utm_user_profile_create(7);
    utm_user_profile_create(7); // taken, where the first was accepted
    utm_user_profile_add_dev(7, mac);
    utm_user_profile_del_dev(7, mac);
    utm_user_profile_add_dev(99, mac);
    utm_user_profile_delete(7);
    utm_user_profile_delete(99);
    utm_user_profile_create(8);
    utm_user_profile_flush();
}

template <class Entry>
void collect_and_release(int code, Entry* utm_event_response::*slot, void (*release)(Entry* head))
{
    utm_event_response* response = ask(code, UTM_CONFIG_TARGET_APP);
    if (response != nullptr)
        release(response->*slot);
    free(response);
}

void run_readers()
{
    free(ask(1, UTM_CONFIG_TARGET_CF));
    free(ask(47, UTM_CONFIG_TARGET_APP));
    collect_and_release(31, &utm_event_response::weekday_limit_list, utm_user_profile_free_weekday_limit_list);
    collect_and_release(36, &utm_event_response::app_usage_list, utm_user_profile_free_app_usage_list);
    collect_and_release(37, &utm_event_response::prev_days_list, utm_user_profile_free_app_usage_prev_days_list);
}

void run_all()
{
    run_profile_operations();
    run_readers();
}

TEST(output, of_both_streams_would_be_seen)
{
    const std::string text = printed_by([] {
        (void)!system("echo a command on standard error >&2");
        puts("the program on standard output");
    });
    EXPECT_EQ(text, "a command on standard error\nthe program on standard output\n");
}

TEST(output, accepted_operations_print_nothing)
{
    config_daemons daemons;
    EXPECT_EQ(printed_by(run_all), "");
}

TEST(output, refused_operations_print_nothing)
{
    config_daemons daemons({.cf = 5, .app = 5, .user_profile = 5});
    EXPECT_EQ(printed_by(run_all), "");
    EXPECT_NE(appcf_log(), "");
}

TEST(output, absent_daemons_print_nothing)
{
    impatient caller;
    EXPECT_EQ(printed_by(run_all), "");
    EXPECT_NE(appcf_log(), "");
}

TEST(output, collected_lists_print_nothing)
{
    sim::scripted_daemon daemon(app_path, answer({reply(2), reply(2), reply(0)}));
    EXPECT_EQ(printed_by(run_readers), "");
    EXPECT_NE(appcf_log(), "") << "traces, and the entry that a code without a list refuses";
}

TEST(output, failing_system_calls_print_nothing)
{
    config_daemons daemons;
    for (const char* function : {"socket", "connect", "write", "select", "read", "malloc", "open", "stat", "ftok",
                                 "semget", "semctl", "semop", "shmget", "shmat", "shmdt"}) {
        impatient caller;
        caller.fail(function, wrap::every, EIO);
        std::filesystem::remove(UTM_ID_MARKER); // the registry is to be cleared again
        EXPECT_EQ(printed_by(run_all), "") << function;
    }
}

TEST(output, answers_that_do_not_come_in_time_print_nothing)
{
    config_daemons daemons;
    impatient caller;
    caller.answer("select", wrap::every, 0);
    EXPECT_EQ(printed_by(run_all), "");
}

TEST(output, rotated_log_prints_nothing)
{
    make_sparse_file(UTM_APPCF_LOG, 5242881);
    EXPECT_EQ(printed_by([] { utm_log(UTM_APPCF_LOG, "a line\n"); }), "");
}

} // namespace
