#include "kqutm/daemon.h"

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

sim::bytes domain(const std::string& text, uint32_t value)
{
    sim::bytes record = reply(2);
    put_text(record, 288, text + std::string(1, '\0'));
    put_u32(record, 800, value);
    return record;
}

void free_domains(utm_domain_browse_entry* head)
{
    for (utm_domain_browse_entry* entry : entries_of(head))
        free(entry);
    free(head);
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

} // namespace
