#include "kqutm/daemon.h"

#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/reader.h"
#include "tests/wrap/wrap.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

using calls = std::vector<std::string>;

// A list of the library's with this many entries.
template <class Entry> Entry* collect(int code, Entry* utm_event_response::*slot, size_t entries)
{
    records all(entries, reply(2));
    all.push_back(reply(0));
    sim::scripted_daemon daemon(app_path, answer(all));
    wrap::plan plan;
    utm_event_response* response = ask(code, UTM_CONFIG_TARGET_APP);
    EXPECT_EQ(static_cast<size_t>(plan.count("malloc")), 1 + 1 + entries) << "response, head and entries";
    Entry* head = response->*slot;
    free(response);
    return head;
}

template <class Entry>
void expect_whole_release(int code, Entry* utm_event_response::*slot, void (*release)(Entry* head))
{
    for (size_t entries : {0U, 1U, 3U}) {
        Entry* head = collect(code, slot, entries);
        wrap::plan plan;
        release(head);
        EXPECT_EQ(plan.calls(), calls(entries + 1, "free()")) << "code " << code;
    }
}

TEST(free_list, releases_every_entry_and_the_head)
{
    expect_whole_release(36, &utm_event_response::app_usage_list, utm_user_profile_free_app_usage_list);
    expect_whole_release(31, &utm_event_response::weekday_limit_list, utm_user_profile_free_weekday_limit_list);
    expect_whole_release(37, &utm_event_response::prev_days_list, utm_user_profile_free_app_usage_prev_days_list);
}

TEST(free_list, unlinks_an_entry_before_it_is_released)
{
    utm_app_usage_entry* head = collect(36, &utm_event_response::app_usage_list, 2);
    utm_list_links* second = head->links.next->next;
    wrap::plan plan;
    plan.before("free", 1, [&] {
        EXPECT_EQ(head->links.next, second);
        EXPECT_EQ(second->prev, &head->links);
    });
    plan.before("free", 2, [&] {
        EXPECT_EQ(head->links.next, &head->links);
        EXPECT_EQ(head->links.prev, &head->links);
    });
    utm_user_profile_free_app_usage_list(head);
    EXPECT_EQ(plan.count("free"), 3);
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
