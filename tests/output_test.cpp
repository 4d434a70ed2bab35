// No operation prints anything: what there is to say goes into the log.

#include "kqutm/app.h"
#include "kqutm/cf.h"
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

void run_content_filter()
{
    const uint8_t block[128] = {};
    utm_cf_policy_create(20);
    utm_cf_policy_create(20);
    utm_cf_policy_config_block(20, block);
    utm_user_profile_add_cf_policy(7, 20);
    utm_cf_add_trusted_url("a.example");
    utm_cf_add_trusted_url(std::string(3000, 'x').c_str());
    utm_cf_policy_add_domain_keyword(20, "word");
    utm_cf_web_safe_browsing_activate(1);
    utm_cf_web_category_activate(0);
    utm_cf_web_safe_browsing_activate(0);
    utm_cf_redirect_page("http://blocked.example/");
    utm_cf_dump_all("/tmp/dump");
    utm_cf_debug(1);
    utm_cf_policy_flush(0, 20);
    utm_cf_global_flush(0);
    if (utm_domain_browse_entry* head = utm_user_profile_get_browse_domain_list(7))
        free(head);
}

void run_application_control()
{
    const uint8_t entries[12][8] = {};
    uint32_t value;
    utm_app_policy_create(30);
    utm_app_policy_create(30);
    utm_app_policy_config_init_block(30, entries, 12);
    utm_app_policy_config_init_block(30, nullptr, 0);
    utm_app_policy_config_block(30, entries, 0);
    utm_user_profile_add_app_policy(7, 30);
    utm_app_dump_all("/tmp/dump");
    utm_app_activate(1);
    utm_app_update_signature("/tmp/signatures");
    utm_app_daemon_status(&value, &value, &value);
    utm_app_get_export_interval(&value);
    utm_app_import_statistics(nullptr);
    utm_user_profile_set_daily_limit(7, 60);
    utm_user_profile_get_daily_limit(7, &value);
    utm_user_profile_get_usage(7, &value, &value, &value);
    utm_user_profile_free_app_usage_list(utm_user_profile_get_app_usage(7, 0));
    utm_user_profile_cf_app_policy_reset();
}

// All but the profile mapping, which prints when there is no memory left.
void run_all()
{
    run_profile_operations();
    run_readers();
    run_content_filter();
    run_application_control();
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
