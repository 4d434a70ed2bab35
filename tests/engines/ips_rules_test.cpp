// The customize list of the IPS client.

#include "kqutm/daemon.h"

#include "tests/engines/engines.h"
#include "tests/sandbox/printed.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <cstdlib>

namespace {

sim::bytes rule(const std::string& name)
{
    sim::bytes record = ips_reply(1);
    put_text(record, 31, name + '\0');
    return record;
}

std::string line(const char* text)
{
    return line_of("utm_ips_show_customizelist", text);
}

const std::string usual_end = line("without white list");

// Asks for the list, expects one, and releases it. The names of its rules, in order.
std::vector<std::string> names_of_list()
{
    utm_ips_rule* list = utm_ips_show_customizelist();
    EXPECT_NE(list, nullptr);
    if (list == nullptr)
        return {};
    std::vector<std::string> names;
    for (const utm_ips_rule* entry : nodes_of(list))
        names.emplace_back(entry->name);
    free_list(list);
    return names;
}

using names = std::vector<std::string>;

TEST(ips_rules, stand_in_the_order_in_which_they_came)
{
    engine_daemon daemon(ips_path, records{rule("a"), rule("b"), rule("c"), ips_reply(0)});
    wrap::plan plan;
    EXPECT_EQ(names_of_list(), (names{"a", "b", "c"}));
    EXPECT_EQ(plan.calls("recv"), std::vector<std::string>(4, "recv(316, 0)"));
}

// Deliberate: a list that ends in the usual way is logged like a failure.
TEST(ips_rules, every_result_but_1_and_minus_1_ends_the_list)
{
    std::string log;
    for (int32_t result : {0, 2, -2, INT32_MAX, INT32_MIN}) {
        engine_daemon daemon(ips_path, records{rule("a"), ips_reply(result), rule("b")});
        EXPECT_EQ(names_of_list(), names{"a"});
        log += usual_end;
    }
    EXPECT_EQ(ips_log(), log);
}

TEST(ips_rules, limit_of_the_daemon_ends_the_list)
{
    engine_daemon daemon(ips_path, records{rule("a"), rule("b"), ips_reply(-1), rule("c")});
    EXPECT_EQ(names_of_list(), (names{"a", "b"}));
    EXPECT_EQ(ips_log(), line("Reach maximum customizelist rule number"));
}

TEST(ips_rules, empty_list_is_a_head_that_points_to_itself)
{
    engine_daemon daemon(ips_path, records{ips_reply(0)});
    utm_ips_rule* list = utm_ips_show_customizelist();
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->next, list);
    EXPECT_EQ(list->prev, list);
    free(list);
    EXPECT_EQ(ips_log(), usual_end);
}

TEST(ips_rules, name_is_cut_to_20_characters)
{
    sim::bytes unterminated = ips_reply(1);
    put_text(unterminated, 31, "abcdefghijklmnopqrstuvwxyz");
    put_u32(unterminated, 312, 1);
    engine_daemon daemon(ips_path, records{unterminated, rule("12345678901234567890"), ips_reply(0)});
    EXPECT_EQ(names_of_list(), (names{"abcdefghijklmnopqrst", "12345678901234567890"}));
}

TEST(ips_rules, entry_is_zero_but_for_links_and_name)
{
    engine_daemon daemon(ips_path, records{rule("xyz"), ips_reply(0)});
    utm_ips_rule* list = utm_ips_show_customizelist();
    ASSERT_NE(list, nullptr);
    sim::bytes expected(56 - 16);
    put_text(expected, 16, "xyz");
    EXPECT_EQ(bytes_of(&list->next->unused, expected.size()), expected);
    EXPECT_EQ(address_at<utm_ips_rule*>(list->next, 0), list); // previous first, then next
    EXPECT_EQ(address_at<utm_ips_rule*>(list, 8), list->next);
    free_list(list);
}

TEST(ips_rules, long_list)
{
    sim::script script = {sim::receive()};
    for (int i = 0; i < 1000; i++)
        script.push_back(sim::send(rule(std::to_string(i))));
    script.push_back(sim::send(ips_reply(0)));
    engine_daemon daemon(ips_path, script);
    const names found = names_of_list();
    ASSERT_EQ(found.size(), 1000U);
    for (size_t i = 0; i < found.size(); i++)
        EXPECT_EQ(found[i], std::to_string(i));
}

TEST(ips_rules, failed_receive_gives_what_came_before)
{
    for (int nth : {1, 2, 3}) {
        engine_daemon daemon(ips_path, records{rule("a"), rule("b"), ips_reply(0)});
        wrap::plan plan;
        plan.fail("recv", nth, EIO);
        EXPECT_EQ(names_of_list().size(), static_cast<size_t>(nth - 1));
        EXPECT_EQ(plan.count("recv"), nth);
    }
    EXPECT_EQ(ips_log(), line("recv fail") + line("recv fail") + line("recv fail"));
}

TEST(ips_rules, closed_connection_ends_the_list)
{
    for (const records& sent : {records{}, records{rule("a")}}) {
        engine_daemon daemon(ips_path, sent);
        EXPECT_EQ(names_of_list().size(), sent.size());
    }
    EXPECT_EQ(ips_log(), usual_end + usual_end);
}

TEST(ips_rules, short_record_is_no_entry_and_ends_the_list)
{
    for (size_t size : {1U, 312U, 315U}) {
        engine_daemon daemon(ips_path, records{rule("a"), first_bytes(rule("b"), size)});
        EXPECT_EQ(names_of_list(), names{"a"}) << size;
    }
    EXPECT_EQ(ips_log(), usual_end + usual_end + usual_end);
}

TEST(ips_rules, without_a_daemon)
{
    EXPECT_EQ(utm_ips_show_customizelist(), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(ips_log(), line_of("connect_ips", "connect failed. Error") + line("connect to ips fail"));
}

TEST(ips_rules, failed_send)
{
    engine_daemon daemon(ips_path, records{ips_reply(0)});
    wrap::plan plan;
    plan.fail("send", 1, ENOBUFS);
    EXPECT_EQ(utm_ips_show_customizelist(), nullptr);
    EXPECT_EQ(errno, ENOBUFS);
    EXPECT_EQ(ips_log(), line("send fail"));
}

TEST(ips_rules, head_that_cannot_be_allocated)
{
    engine_daemon daemon(ips_path, records{ips_reply(0)});
    wrap::plan plan;
    plan.fail("malloc", 1, ENOMEM);
    EXPECT_EQ(utm_ips_show_customizelist(), nullptr);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(plan.count("recv"), 0);
    EXPECT_EQ(ips_log(), line("list init fail"));
}

TEST(ips_rules, entry_that_cannot_be_allocated_ends_the_list)
{
    engine_daemon daemon(ips_path, records{rule("a"), rule("b"), rule("c"), ips_reply(0)});
    names found;
    const std::string printed = printed_by([&] {
        wrap::plan plan;
        plan.fail("malloc", 3, ENOMEM); // head, first entry, second entry
        found = names_of_list();
    });
    EXPECT_EQ(found, names{"a"});
    EXPECT_EQ(printed, "malloc show queue node fail\n");
    EXPECT_EQ(ips_log(), "");
}

TEST(ips_rules, node_is_zeroed)
{
    utm_ips_rule* node = ips_create_node();
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(bytes_of(&node->unused, 37), sim::bytes(37));
    free(node);
}

TEST(ips_rules, node_that_cannot_be_allocated)
{
    const std::string printed = printed_by([] {
        wrap::plan plan;
        plan.fail("malloc", 1, ENOMEM);
        EXPECT_EQ(ips_create_node(), nullptr);
        EXPECT_EQ(errno, ENOMEM);
    });
    EXPECT_EQ(printed, "malloc show queue node fail\n");
}

TEST(ips_rules, line_numbers_tell_messages_apart)
{
    const auto ask = [] { free(utm_ips_show_customizelist()); };
    expect_line_numbers_of_their_own(UTM_IPS_LOG, "utm_ips_show_customizelist", 6, [&] {
        fail_in_each_way(ask, ips_path, records{ips_reply(0)}, {"send", "recv", "malloc"});
        engine_daemon daemon(ips_path, records{ips_reply(-1)});
        ask();
    });
}

} // namespace
