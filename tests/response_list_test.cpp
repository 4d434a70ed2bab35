#include "event/event.h"

#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/lists.h"
#include "tests/sandbox/reader.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

constexpr int cf = UTM_CONFIG_TARGET_CF;
constexpr int app = UTM_CONFIG_TARGET_APP;

// A reply with status 2 and two values.
sim::bytes two_values(size_t offset, uint32_t first, uint32_t second)
{
    sim::bytes record = reply(2);
    put_u32(record, offset, first);
    put_u32(record, offset + 4, second);
    return record;
}

sim::bytes prev_days(uint32_t app_id, uint8_t first_figure)
{
    sim::bytes record = reply(2);
    put_u32(record, 80, app_id);
    for (size_t i = 0; i < 124; i++)
        record[84 + i] = static_cast<uint8_t>(first_figure + i);
    return record;
}

TEST(app_usage_list, entries_stand_in_the_order_received)
{
    sim::scripted_daemon daemon(
        app_path, answer({two_values(48, 1, 10), two_values(48, 0xffffffff, 20), two_values(48, 3, 0), reply(0)}));
    utm_event_response* response = ask(36, app);
    ASSERT_NE(response, nullptr);
    const auto entries = entries_of(response->app_usage_list);
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[0]->first_value, 1U);
    EXPECT_EQ(entries[0]->second_value, 10U);
    EXPECT_EQ(entries[1]->first_value, 0xffffffffU);
    EXPECT_EQ(entries[1]->second_value, 20U);
    EXPECT_EQ(entries[2]->first_value, 3U);
    EXPECT_EQ(entries[2]->second_value, 0U);
    EXPECT_FALSE(exists("/tmp/utm_log")) << "no trace lines";
    utm_user_profile_free_app_usage_list(response->app_usage_list);
    free(response);
}

TEST(app_usage_list, every_other_application_code_gets_one)
{
    sim::scripted_daemon daemon(app_path, answer({reply(0)}));
    for (int code : {0, 1, 25, 30, 32, 35, 36, 38, 46, 48, 255}) {
        utm_event_response* response = ask(code, app);
        ASSERT_NE(response, nullptr) << code;
        EXPECT_TRUE(entries_of(response->app_usage_list).empty());
        utm_user_profile_free_app_usage_list(response->app_usage_list);
        free(response);
    }
}

TEST(app_usage_list, empty_one_is_a_head_that_points_to_itself)
{
    sim::scripted_daemon daemon(app_path, answer({reply(0)}));
    utm_event_response* response = ask(36, app);
    ASSERT_NE(response, nullptr);
    utm_app_usage_entry* head = response->app_usage_list;
    EXPECT_EQ(head->links.next, &head->links);
    EXPECT_EQ(head->links.prev, &head->links);
    utm_user_profile_free_app_usage_list(head);
    free(response);
}

TEST(app_usage_list, slot_of_the_list_alone_is_set)
{
    sim::scripted_daemon daemon(app_path, answer({reply(2), reply(0)}));
    utm_event_response* response = ask(36, app);
    ASSERT_NE(response, nullptr);
    utm_app_usage_entry* head = response->app_usage_list;
    memset(&response->app_usage_list, 0xa5, sizeof response->app_usage_list);
    EXPECT_EQ(bytes_of(response, sizeof *response), reply(0));
    utm_user_profile_free_app_usage_list(head);
    free(response);
}

TEST(app_usage_list, head_that_cannot_be_allocated)
{
    sim::scripted_daemon daemon(app_path, answer({reply(0)}));
    wrap::plan plan;
    plan.fail("malloc", 2, ENOMEM);
    EXPECT_EQ(ask(36, app), nullptr);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(plan.count("select"), 0);
    EXPECT_EQ(appcf_log(), reader_line("app malloc fail"));
}

TEST(app_usage_list, entry_that_cannot_be_allocated)
{
    sim::scripted_daemon daemon(app_path, answer({reply(2), reply(2), reply(0)}));
    wrap::plan plan;
    plan.fail("malloc", 4, ENOMEM);
    EXPECT_EQ(ask(36, app), nullptr);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(appcf_log(), reader_line(" new_app malloc fail"));
}

TEST(weekday_limit_list, entries_stand_in_the_order_received)
{
    sim::scripted_daemon daemon(app_path, answer({two_values(264, 6, 120), two_values(264, 0, 90), reply(0)}));
    utm_event_response* response = ask(31, app);
    ASSERT_NE(response, nullptr);
    const auto entries = entries_of(response->weekday_limit_list);
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0]->first_value, 6U);
    EXPECT_EQ(entries[0]->second_value, 120U);
    EXPECT_EQ(entries[1]->first_value, 0U);
    EXPECT_EQ(entries[1]->second_value, 90U);
    EXPECT_FALSE(exists("/tmp/utm_log")) << "no trace lines";
    utm_user_profile_free_weekday_limit_list(response->weekday_limit_list);
    free(response);
}

// Deliberate: the weekday head reports its failure with the text of the earlier days.
TEST(weekday_limit_list, head_that_cannot_be_allocated_has_the_text_of_the_earlier_days)
{
    sim::scripted_daemon daemon(app_path, answer({reply(0)}));
    wrap::plan plan;
    plan.fail("malloc", 2, ENOMEM);
    EXPECT_EQ(ask(31, app), nullptr);
    EXPECT_EQ(appcf_log(), reader_line("app_prev_days malloc fail"));
}

TEST(weekday_limit_list, entry_that_cannot_be_allocated)
{
    sim::scripted_daemon daemon(app_path, answer({reply(2), reply(0)}));
    wrap::plan plan;
    plan.fail("malloc", 3, ENOMEM);
    EXPECT_EQ(ask(31, app), nullptr);
    EXPECT_EQ(appcf_log(), reader_line(" new_app_weekday_limit malloc fail"));
}

TEST(prev_days_list, entries_hold_app_id_and_figures_unchanged)
{
    sim::scripted_daemon daemon(app_path, answer({prev_days(7, 1), prev_days(8, 200), reply(0)}));
    utm_event_response* response = ask(37, app);
    ASSERT_NE(response, nullptr);
    const auto entries = entries_of(response->prev_days_list);
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0]->app_id, 7U);
    EXPECT_EQ(bytes_of(entries[0]->per_day_figures, 124), bytes_of(prev_days(7, 1).data() + 84, 124));
    EXPECT_EQ(entries[1]->app_id, 8U);
    EXPECT_EQ(bytes_of(entries[1]->per_day_figures, 124), bytes_of(prev_days(8, 200).data() + 84, 124));
    utm_user_profile_free_app_usage_prev_days_list(response->prev_days_list);
    free(response);
}

// Deliberate: the trace lines have no newline, so the entries of one exchange run together on one line of the log.
TEST(prev_days_list, traces_run_together)
{
    sim::scripted_daemon daemon(app_path, answer({prev_days(7, 1), prev_days(0xffffffff, 1), reply(0)}));
    utm_event_response* response = ask(37, app);
    ASSERT_NE(response, nullptr);
    EXPECT_EQ(appcf_log(), "response->app.app_usage_prev_days.app_id: 7response->app.app_usage_prev_days.app_id: -1");
    utm_user_profile_free_app_usage_prev_days_list(response->prev_days_list);
    free(response);
}

TEST(prev_days_list, head_that_cannot_be_allocated)
{
    sim::scripted_daemon daemon(app_path, answer({reply(0)}));
    wrap::plan plan;
    plan.fail("malloc", 2, ENOMEM);
    EXPECT_EQ(ask(37, app), nullptr);
    EXPECT_EQ(appcf_log(), reader_line("app_prev_days malloc fail"));
}

TEST(prev_days_list, entry_that_cannot_be_allocated_is_not_traced)
{
    sim::scripted_daemon daemon(app_path, answer({prev_days(7, 1), reply(0)}));
    wrap::plan plan;
    plan.fail("malloc", 3, ENOMEM);
    EXPECT_EQ(ask(37, app), nullptr);
    EXPECT_EQ(appcf_log(), reader_line(" new_app_prev_days malloc fail"));
}

TEST(response_list, entry_without_a_head_is_refused)
{
    struct {
        int target;
        int code;
        const char* text;
    } const lists[] = {{app, 36, " app is NULL"},
                       {app, 31, " app_weekday_limit is NULL"},
                       {app, 37, " app_prev_days is NULL"},
                       {cf, 25, " domain_list is NULL"}};
    std::string log;
    for (const auto& [target, code, text] : lists) {
        response_list list(target, code, "send_utm_event_and_get_response");
        EXPECT_FALSE(list.append({.status = 2}));
        EXPECT_EQ(errno, EPROTO);
        log += reader_line(text);
    }
    EXPECT_EQ(appcf_log(), log);
}

} // namespace
