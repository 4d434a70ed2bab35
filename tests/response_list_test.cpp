#include "event/event.h"

#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/reader.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

using calls = std::vector<std::string>;

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

sim::bytes domain(const std::string& text, uint32_t value)
{
    sim::bytes record = reply(2);
    put_text(record, 288, text + std::string(1, '\0'));
    put_u32(record, 800, value);
    return record;
}

// The entries behind a head, as steps along next; checks that prev leads back.
template <class Entry> std::vector<Entry*> entries_of(Entry* head)
{
    std::vector<Entry*> entries;
    for (utm_list_links* at = head->links.next; at != &head->links; at = at->next) {
        EXPECT_EQ(at->prev->next, at);
        EXPECT_EQ(at->next->prev, at);
        entries.push_back(reinterpret_cast<Entry*>(reinterpret_cast<char*>(at) - offsetof(Entry, links)));
    }
    return entries;
}

void free_domains(utm_domain_browse_entry* head)
{
    for (utm_domain_browse_entry* entry : entries_of(head))
        free(entry);
    free(head);
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

TEST(domain_list, entries_hold_domain_and_value)
{
    const std::string longest(511, 'd');
    sim::scripted_daemon daemon(cf_path, answer({domain("a.example", 5), domain(longest, 6), reply(0)}));
    utm_event_response* response = ask(25, cf);
    ASSERT_NE(response, nullptr);
    const auto entries = entries_of(response->domain_browse_list);
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_STREQ(entries[0]->domain, "a.example");
    EXPECT_EQ(entries[0]->value, 5U);
    EXPECT_EQ(bytes_of(entries[0]->domain, 512), bytes_of(domain("a.example", 5).data() + 288, 512))
        << "all 512 bytes, whatever follows the terminator";
    EXPECT_EQ(entries[1]->domain, longest);
    EXPECT_EQ(entries[1]->value, 6U);
    free_domains(response->domain_browse_list);
    free(response);
}

TEST(domain_list, traces_of_three_entries_run_together)
{
    sim::scripted_daemon daemon(cf_path, answer({domain("one", 1), domain("two", 2), domain("three", 3), reply(0)}));
    utm_event_response* response = ask(25, cf);
    ASSERT_NE(response, nullptr);
    EXPECT_EQ(appcf_log(), "response->cf.domain_browse->domain: oneresponse->cf.domain_browse->domain: two"
                           "response->cf.domain_browse->domain: three");
    free_domains(response->domain_browse_list);
    free(response);
}

TEST(domain_list, domain_without_a_terminator_is_traced_to_the_end_of_its_field)
{
    sim::bytes record = reply(2);
    put_text(record, 288, std::string(512, 'x'));
    put_text(record, 800, "yyyy");
    sim::scripted_daemon daemon(cf_path, answer({record, reply(0)}));
    utm_event_response* response = ask(25, cf);
    ASSERT_NE(response, nullptr);
    EXPECT_EQ(appcf_log(), "response->cf.domain_browse->domain: " + std::string(512, 'x'));
    free_domains(response->domain_browse_list);
    free(response);
}

TEST(domain_list, empty_one_is_a_head_that_points_to_itself)
{
    sim::scripted_daemon daemon(cf_path, answer({reply(0)}));
    utm_event_response* response = ask(25, cf);
    ASSERT_NE(response, nullptr);
    utm_domain_browse_entry* head = response->domain_browse_list;
    EXPECT_EQ(head->links.next, &head->links);
    EXPECT_EQ(head->links.prev, &head->links);
    EXPECT_FALSE(exists("/tmp/utm_log"));
    free(head);
    free(response);
}

TEST(domain_list, head_that_cannot_be_allocated)
{
    sim::scripted_daemon daemon(cf_path, answer({reply(0)}));
    wrap::plan plan;
    plan.fail("malloc", 2, ENOMEM);
    EXPECT_EQ(ask(25, cf), nullptr);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(appcf_log(), reader_line("domain_list malloc fail"));
}

TEST(domain_list, entry_that_cannot_be_allocated_is_not_traced)
{
    sim::scripted_daemon daemon(cf_path, answer({domain("one", 1), reply(0)}));
    wrap::plan plan;
    plan.fail("malloc", 3, ENOMEM);
    EXPECT_EQ(ask(25, cf), nullptr);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(appcf_log(), reader_line(" new_domain_list malloc fail"));
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

// A list of the library's with this many entries.
utm_app_usage_entry* app_usage_list(size_t entries)
{
    std::vector<sim::bytes> records(entries, reply(2));
    records.push_back(reply(0));
    sim::scripted_daemon daemon(app_path, answer(records));
    utm_event_response* response = ask(36, app);
    utm_app_usage_entry* head = response->app_usage_list;
    free(response);
    return head;
}

TEST(free_list, releases_every_entry_and_the_head)
{
    for (size_t entries : {0U, 1U, 5U}) {
        utm_app_usage_entry* head = app_usage_list(entries);
        wrap::plan plan;
        utm_user_profile_free_app_usage_list(head);
        EXPECT_EQ(plan.calls(), calls(entries + 1, "free()"));
    }
}

TEST(free_list, accepts_null)
{
    wrap::plan plan;
    utm_user_profile_free_app_usage_list(nullptr);
    utm_user_profile_free_weekday_limit_list(nullptr);
    utm_user_profile_free_app_usage_prev_days_list(nullptr);
    EXPECT_EQ(plan.calls(), calls{});
}

} // namespace
