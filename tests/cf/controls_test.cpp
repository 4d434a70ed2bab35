// Debug, global flush, and the domains that a profile's devices have browsed.

#include "kqutm/cf.h"
#include "kqutm/profile.h"

#include "tests/sandbox/rules.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <ostream>

namespace {

struct value_operation {
    const char* name;
    int32_t (*run)(int32_t value);
    uint8_t code;
    const char* failed; // with the value -3

    friend std::ostream& operator<<(std::ostream& to, const value_operation& operation) { return to << operation.name; }
};

class cf_values : public testing::TestWithParam<value_operation> {};

INSTANTIATE_TEST_SUITE_P(all, cf_values,
                         testing::Values(value_operation{"debug", utm_cf_debug, 22,
                                                         "[utm_cf_debug] fail(activate = -3)\n"},
                                         value_operation{"global_flush", utm_cf_global_flush, 23,
                                                         "[utm_cf_global_flush] fail(flush_type = -3)\n"}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(cf_values, value_travels_at_byte_8)
{
    config_daemons daemons;
    EXPECT_EQ(GetParam().run(-3), 0);
    EXPECT_EQ(GetParam().run(0x01020304), 0);
    EXPECT_EQ(daemons.told(), (paths{cf_path, cf_path}));
    EXPECT_EQ(daemons.visits()[0].request, cf_request(GetParam().code).u32(8, 0xfffffffd));
    EXPECT_EQ(daemons.visits()[1].request, cf_request(GetParam().code).u32(8, 0x01020304));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(cf_values, refusal_is_logged)
{
    config_daemons daemons({.cf = 5});
    expect_failure(GetParam().run(-3), EREMOTEIO);
    EXPECT_EQ(appcf_log(), refused(5) + GetParam().failed);
}

TEST_P(cf_values, absence_is_logged)
{
    impatient caller;
    expect_failure(GetParam().run(-3), ENOENT);
    EXPECT_EQ(appcf_log(), unreachable() + GetParam().failed);
}

TEST_P(cf_values, silence_is_logged)
{
    config_daemons daemons;
    unheard caller;
    expect_failure(GetParam().run(-3), ETIMEDOUT);
    EXPECT_EQ(appcf_log(), std::string(unanswered) + GetParam().failed);
}

constexpr char get_failed[] = "get utm_user_profile_get_browse_domain_list fail\n";

sim::bytes domain(const std::string& text, uint32_t value)
{
    sim::bytes record = reply(2);
    put_text(record, 288, text + std::string(1, '\0'));
    put_u32(record, 800, value);
    return record;
}

void release(utm_domain_browse_entry* head)
{
    for (utm_domain_browse_entry* entry : entries_of(head))
        free(entry);
    free(head);
}

TEST(browsed_domains, request_names_the_profile)
{
    sim::scripted_daemon daemon(cf_path, answer(0));
    wrap::plan plan;
    utm_domain_browse_entry* head = utm_user_profile_get_browse_domain_list(-7);
    ASSERT_NE(head, nullptr);
    EXPECT_EQ(daemon.requests(), records{cf_request(25).u32(8, 0xfffffff9)});
    EXPECT_EQ(plan.count("ftok"), 0) << "the registry is not asked";
    release(head);
}

TEST(browsed_domains, none_are_an_empty_list)
{
    sim::scripted_daemon daemon(cf_path, answer(0));
    utm_domain_browse_entry* head = utm_user_profile_get_browse_domain_list(7);
    ASSERT_NE(head, nullptr);
    EXPECT_EQ(head->links.next, &head->links);
    EXPECT_EQ(head->links.prev, &head->links);
    EXPECT_FALSE(exists("/tmp/utm_log"));
    free(head);
}

TEST(browsed_domains, come_as_they_were_sent)
{
    sim::scripted_daemon daemon(cf_path,
                                answer({domain("c.example", 5), domain("a.example", 6), domain("", 7), reply(0)}));
    utm_domain_browse_entry* head = utm_user_profile_get_browse_domain_list(7);
    ASSERT_NE(head, nullptr);
    const auto entries = entries_of(head);
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_STREQ(entries[0]->domain, "c.example");
    EXPECT_EQ(entries[0]->value, 5U);
    EXPECT_STREQ(entries[1]->domain, "a.example");
    EXPECT_EQ(entries[1]->value, 6U);
    EXPECT_STREQ(entries[2]->domain, "");
    EXPECT_EQ(entries[2]->value, 7U);
    release(head);
}

TEST(browsed_domains, response_is_released_and_the_list_is_not)
{
    sim::scripted_daemon daemon(cf_path, answer({domain("a.example", 5), reply(0)}));
    wrap::plan plan;
    utm_domain_browse_entry* head = utm_user_profile_get_browse_domain_list(7);
    ASSERT_NE(head, nullptr);
    EXPECT_EQ(plan.count("malloc"), 3) << "response, head and entry";
    EXPECT_EQ(plan.count("free"), 1);
    release(head);
}

TEST(browsed_domains, of_100000_entries)
{
    sim::scripted_daemon daemon(cf_path,
                                stream(100000, [](uint32_t number) { return domain(std::to_string(number), number); }));
    utm_domain_browse_entry* head = utm_user_profile_get_browse_domain_list(7);
    ASSERT_NE(head, nullptr);
    const auto entries = entries_of(head);
    ASSERT_EQ(entries.size(), 100000U);
    for (uint32_t number = 0; number < 100000; number++)
        ASSERT_EQ(entries[number]->domain, std::to_string(number));
    release(head);
}

TEST(browsed_domains, stream_that_breaks_off)
{
    sim::scripted_daemon daemon(cf_path, answer({domain("a.example", 5), domain("b.example", 6)}));
    EXPECT_EQ(utm_user_profile_get_browse_domain_list(7), nullptr);
    EXPECT_EQ(errno, ENODATA);
    EXPECT_EQ(appcf_log(), "response->cf.domain_browse->domain: a.example"
                           "response->cf.domain_browse->domain: b.example" +
                               std::string(broken_off) + get_failed);
}

TEST(browsed_domains, refusal_is_logged)
{
    sim::scripted_daemon daemon(cf_path, answer(5));
    EXPECT_EQ(utm_user_profile_get_browse_domain_list(7), nullptr);
    EXPECT_EQ(errno, EREMOTEIO);
    EXPECT_EQ(appcf_log(), asked_and_refused(5) + get_failed);
}

TEST(browsed_domains, absence_is_logged)
{
    EXPECT_EQ(utm_user_profile_get_browse_domain_list(7), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(appcf_log(), std::string(asked_nobody) + get_failed);
}

TEST(browsed_domains, silence_is_logged)
{
    sim::scripted_daemon daemon(cf_path, sim::script{sim::receive(), sim::await_close()});
    EXPECT_EQ(utm_user_profile_get_browse_domain_list(7), nullptr);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_EQ(appcf_log(), std::string(asked_in_vain) + get_failed);
}

TEST(browsed_domains, without_memory_at_each_allocation)
{
    sim::scripted_daemon daemon(cf_path, stream(3, [](uint32_t number) { return domain("a.example", number); }));
    const char* texts[] = {"response malloc fail\n", "domain_list malloc fail\n", " new_domain_list malloc fail\n"};
    for (int nth = 1; nth <= 5; nth++) {
        std::filesystem::remove_all("/tmp/utm_log");
        wrap::plan plan;
        plan.fail("malloc", nth, ENOMEM);
        EXPECT_EQ(utm_user_profile_get_browse_domain_list(7), nullptr);
        EXPECT_EQ(errno, ENOMEM);
        std::string expected;
        for (int entry = 1; entry <= nth - 3; entry++)
            expected += "response->cf.domain_browse->domain: a.example";
        expected += "[send_utm_event_and_get_response]";
        EXPECT_EQ(appcf_log(), expected + texts[std::min(nth, 3) - 1] + get_failed);
    }
}

} // namespace
