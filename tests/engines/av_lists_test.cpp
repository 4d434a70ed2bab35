#include "kqutm/daemon.h"

#include "tests/engines/engines.h"
#include "tests/sandbox/printed.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <cstdlib>

namespace {

sim::bytes entry(const std::string& text, const std::string& value = "")
{
    sim::bytes record = av_reply(0);
    put_text(record, 20, text + '\0');
    put_text(record, 53, value + '\0');
    return record;
}

using texts = std::vector<std::string>;

struct query {
    const char* name;
    utm_av_entry* (*call)();
    const char* (*text)(const utm_av_entry* entry);
    texts in_order; // of entries that came as a, b, c
};

void PrintTo(const query& query, std::ostream* out)
{
    *out << query.name;
}

// Deliberate: the cache list puts the newest first, the whitelist last.
const query queries[] = {
    {"utm_av_show_whitelist",
     [] { return utm_av_show_whitelist(); },
     [](const utm_av_entry* entry) { return entry->whitelist_entry; },
     {"a", "b", "c"}},
    {"utm_av_show_cache",
     [] { return utm_av_show_cache(); },
     [](const utm_av_entry* entry) { return entry->cache_key; },
     {"c", "b", "a"}},
};

class av_list : public testing::TestWithParam<query> {
protected:
    // Asks for the list, expects one, and releases it. The texts of its entries, in order; it has printed this alone.
    texts ask(const std::string& line = "") const
    {
        texts found;
        const std::string printed = printed_by([&] {
            utm_av_entry* list = GetParam().call();
            ASSERT_NE(list, nullptr);
            for (const utm_av_entry* at : nodes_of(list))
                found.emplace_back(GetParam().text(at));
            free_list(list);
        });
        EXPECT_EQ(printed, line);
        EXPECT_FALSE(exists("/tmp/utm_log"));
        return found;
    }

    void expect_null(int cause) const
    {
        const std::string printed = printed_by([&] {
            EXPECT_EQ(GetParam().call(), nullptr);
            EXPECT_EQ(errno, cause);
        });
        EXPECT_EQ(printed, "");
        EXPECT_FALSE(exists("/tmp/utm_log"));
    }
};
INSTANTIATE_TEST_SUITE_P(lists, av_list, testing::ValuesIn(queries),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(av_list, stands_in_its_own_order)
{
    engine_daemon daemon(av_path, records{entry("a"), entry("b"), entry("c"), av_reply(-1), entry("d")});
    wrap::plan plan;
    EXPECT_EQ(ask(), GetParam().in_order);
    EXPECT_EQ(plan.calls("recv"), std::vector<std::string>(4, "recv(96, 0)"));
    EXPECT_EQ(plan.calls("malloc").front(), "malloc(168)");
}

TEST_P(av_list, without_entries_is_a_head_that_points_to_itself)
{
    engine_daemon daemon(av_path, records{av_reply(-1)});
    utm_av_entry* list = GetParam().call();
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->next, list);
    EXPECT_EQ(list->prev, list);
    free(list);
}

TEST_P(av_list, every_status_but_minus_1_carries_an_entry)
{
    records sent;
    for (int32_t status : {0, 1, -2, INT32_MAX, INT32_MIN}) {
        sent.push_back(entry("x"));
        put_u32(sent.back(), 92, static_cast<uint32_t>(status));
    }
    sent.push_back(av_reply(-1));
    engine_daemon daemon(av_path, sent);
    EXPECT_EQ(ask(), texts(5, "x"));
}

TEST_P(av_list, failed_receive_gives_what_came_before)
{
    for (int nth : {1, 2, 3}) {
        engine_daemon daemon(av_path, records{entry("x"), entry("x"), av_reply(-1)});
        wrap::plan plan;
        plan.fail("recv", nth, EAGAIN);
        EXPECT_EQ(ask().size(), static_cast<size_t>(nth - 1));
        EXPECT_EQ(plan.count("recv"), nth);
    }
}

TEST_P(av_list, closed_connection_ends_the_list)
{
    for (const records& sent : {records{}, records{entry("x")}, records{entry("x"), entry("x")}}) {
        engine_daemon daemon(av_path, sent);
        EXPECT_EQ(ask(), texts(sent.size(), "x"));
    }
}

TEST_P(av_list, short_record_is_no_entry_and_ends_the_list)
{
    for (size_t size : {1U, 92U, 94U, 95U}) {
        engine_daemon daemon(av_path, records{entry("x"), first_bytes(entry("y"), size)});
        EXPECT_EQ(ask(), texts{"x"}) << size;
    }
}

TEST_P(av_list, long_one)
{
    sim::script script = {sim::receive()};
    for (int i = 0; i < 1000; i++)
        script.push_back(sim::send(entry("x")));
    script.push_back(sim::send(av_reply(-1)));
    engine_daemon daemon(av_path, script);
    EXPECT_EQ(ask(), texts(1000, "x"));
}

TEST_P(av_list, without_a_daemon)
{
    expect_null(ENOENT);
}

TEST_P(av_list, failed_send)
{
    engine_daemon daemon(av_path, records{av_reply(-1)});
    wrap::plan plan;
    plan.fail("send", 1, ENOBUFS);
    expect_null(ENOBUFS);
    EXPECT_EQ(plan.count("malloc"), 0);
}

TEST_P(av_list, head_that_cannot_be_allocated)
{
    engine_daemon daemon(av_path, records{av_reply(-1)});
    wrap::plan plan;
    plan.before("send", 1, [&] { plan.fail("malloc", plan.count("malloc") + 1, ENOMEM); });
    expect_null(ENOMEM);
    EXPECT_EQ(plan.count("recv"), 0);
}

TEST_P(av_list, entry_that_cannot_be_allocated_ends_the_list)
{
    engine_daemon daemon(av_path, records{entry("x"), entry("y"), entry("z"), av_reply(-1)});
    wrap::plan plan;
    plan.fail("malloc", 3, ENOMEM); // head, first entry, second entry
    EXPECT_EQ(ask("malloc show queue node fail\n"), texts{"x"});
}

// The only entry of a list, without its links.
sim::bytes only_entry(utm_av_entry* (*ask)(), const sim::bytes& record)
{
    engine_daemon daemon(av_path, records{record, av_reply(-1)});
    utm_av_entry* list = ask();
    EXPECT_EQ(address_at<utm_av_entry*>(list, 8), list->next); // previous first, then next
    EXPECT_EQ(address_at<utm_av_entry*>(list->next, 0), list);
    sim::bytes found = bytes_of(list->next, 168);
    free_list(list);
    return {found.begin() + 16, found.end()};
}

TEST(av_entry, holds_the_whitelist_text_alone)
{
    sim::bytes expected(168);
    put_text(expected, 128, "evil.exe");
    EXPECT_EQ(only_entry(utm_av_show_whitelist, entry("evil.exe", "value")),
              sim::bytes(expected.begin() + 16, expected.end()));
}

TEST(av_entry, holds_key_and_value_alone)
{
    sim::bytes expected(168);
    put_text(expected, 32, "key");
    put_text(expected, 65, "value");
    EXPECT_EQ(only_entry(utm_av_show_cache, entry("key", "value")), sim::bytes(expected.begin() + 16, expected.end()));
}

TEST(av_entry, texts_that_fill_their_fields_come_whole)
{
    sim::bytes record = av_reply(0);
    put_text(record, 20, std::string(33, 'k') + std::string(32, 'v'));
    sim::bytes cached(168);
    put_text(cached, 32, std::string(33, 'k') + std::string(32, 'v'));
    EXPECT_EQ(only_entry(utm_av_show_cache, record), sim::bytes(cached.begin() + 16, cached.end()));
    sim::bytes listed(168);
    put_text(listed, 128, std::string(33, 'k'));
    EXPECT_EQ(only_entry(utm_av_show_whitelist, record), sim::bytes(listed.begin() + 16, listed.end()));
}

TEST(av_node, is_zeroed)
{
    utm_av_entry* node = av_create_node();
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(bytes_of(&node->unused_16, 152), sim::bytes(152));
    free(node);
}

TEST(av_node, that_cannot_be_allocated)
{
    const std::string printed = printed_by([] {
        wrap::plan plan;
        plan.fail("malloc", 1, ENOMEM);
        EXPECT_EQ(av_create_node(), nullptr);
        EXPECT_EQ(errno, ENOMEM);
    });
    EXPECT_EQ(printed, "malloc show queue node fail\n");
}

} // namespace
