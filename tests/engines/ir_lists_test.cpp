// What the IR client reads: the two lists, and the version of the database.

#include "kqutm/ir.h"

#include "tests/engines/engines.h"
#include "tests/sandbox/descriptors.h"
#include "tests/sandbox/printed.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <cstdlib>
#include <functional>

namespace {

sim::bytes entry(uint32_t value, uint16_t second_value)
{
    sim::bytes record(16, 0xa5);
    put_u32(record, 0, 0);
    put_u32(record, 4, value);
    memcpy(record.data() + 8, &second_value, sizeof second_value);
    return record;
}

sim::bytes end_of_list()
{
    return ir_reply(1);
}

using entries = std::vector<std::pair<uint32_t, uint16_t>>;

struct query {
    const char* name;
    utm_ir_entry* (*call)();
};

void PrintTo(const query& query, std::ostream* out)
{
    *out << query.name;
}

const query queries[] = {
    {"utm_ir_db_get_whitelist", [] { return utm_ir_db_get_whitelist(); }},
    {"utm_ir_db_get_blacklist", [] { return utm_ir_db_get_blacklist(); }},
};

class ir_list : public testing::TestWithParam<query> {
protected:
    // Asks for the list, expects one, and releases it. Its entries, in order, and what was printed.
    entries ask(const std::string& line = "") const
    {
        entries found;
        const std::string printed = printed_by([&] {
            utm_ir_entry* list = GetParam().call();
            ASSERT_NE(list, nullptr);
            for (const utm_ir_entry* at : nodes_of(list))
                found.emplace_back(at->value, at->second_value);
            free_list(list);
        });
        EXPECT_EQ(printed, line);
        EXPECT_FALSE(exists("/tmp/utm_log"));
        return found;
    }

    void expect_null(int cause, const std::string& line) const
    {
        const std::string printed = printed_by([&] {
            EXPECT_EQ(GetParam().call(), nullptr);
            EXPECT_EQ(errno, cause);
        });
        EXPECT_EQ(printed, line);
        EXPECT_FALSE(exists("/tmp/utm_log"));
    }
};
INSTANTIATE_TEST_SUITE_P(lists, ir_list, testing::ValuesIn(queries),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(ir_list, stands_in_the_order_in_which_it_came)
{
    engine_daemon daemon(ir_path, records{entry(1, 10), entry(0xffffffff, 0xffff), entry(3, 30), end_of_list()});
    EXPECT_EQ(ask(), (entries{{1, 10}, {0xffffffff, 0xffff}, {3, 30}}));
}

TEST_P(ir_list, takes_its_steps_once_each)
{
    engine_daemon daemon(ir_path, records{entry(1, 10), end_of_list()});
    wrap::plan plan;
    utm_ir_entry* list = GetParam().call();
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(plan.calls("send"), std::vector<std::string>{"send(132, " + std::to_string(MSG_NOSIGNAL) + ")"});
    EXPECT_EQ(plan.calls("recv"), std::vector<std::string>(2, "recv(16, 0)"));
    EXPECT_EQ(plan.calls("malloc"), std::vector<std::string>(2, "malloc(24)"));
    EXPECT_EQ(plan.count("setsockopt"), 0);
    EXPECT_EQ(address_at<utm_ir_entry*>(list, 8), list->next); // previous first, then next
    EXPECT_EQ(address_at<utm_ir_entry*>(list->next, 0), list);
    EXPECT_EQ(u32_at(list->next, 16), 1U);
    EXPECT_EQ(u32_at(list->next, 20), 10U);
    free_list(list);
}

TEST_P(ir_list, every_end_flag_but_0_ends_it)
{
    for (int32_t end : {1, -1, 2, INT32_MIN}) {
        engine_daemon daemon(ir_path, records{entry(1, 10), ir_reply(end), entry(2, 20)});
        EXPECT_EQ(ask(), (entries{{1, 10}}));
    }
}

TEST_P(ir_list, without_entries_is_a_head_that_points_to_itself)
{
    engine_daemon daemon(ir_path, records{end_of_list()});
    utm_ir_entry* list = GetParam().call();
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->next, list);
    EXPECT_EQ(list->prev, list);
    free(list);
}

TEST_P(ir_list, failed_receive_gives_what_came_before)
{
    for (int nth : {1, 2, 3}) {
        engine_daemon daemon(ir_path, records{entry(1, 1), entry(2, 2), end_of_list()});
        wrap::plan plan;
        plan.fail("recv", nth, EIO);
        EXPECT_EQ(ask("recv failed\n").size(), static_cast<size_t>(nth - 1));
    }
}

TEST_P(ir_list, closed_connection_is_a_failed_receive)
{
    for (const records& sent : {records{}, records{entry(1, 1)}}) {
        engine_daemon daemon(ir_path, sent);
        EXPECT_EQ(ask("recv failed\n").size(), sent.size());
    }
}

TEST_P(ir_list, short_record_is_no_entry_and_ends_it)
{
    for (size_t size : {1U, 4U, 10U, 15U}) {
        engine_daemon daemon(ir_path, records{entry(1, 1), first_bytes(entry(2, 2), size)});
        EXPECT_EQ(ask(), (entries{{1, 1}})) << size;
    }
}

TEST_P(ir_list, long_one)
{
    sim::script script = {sim::receive()};
    for (uint32_t i = 0; i < 1000; i++)
        script.push_back(sim::send(entry(i, 7)));
    script.push_back(sim::send(end_of_list()));
    engine_daemon daemon(ir_path, script);
    const entries found = ask();
    ASSERT_EQ(found.size(), 1000U);
    for (uint32_t i = 0; i < found.size(); i++)
        EXPECT_EQ(found[i].first, i);
}

TEST_P(ir_list, head_that_cannot_be_allocated)
{
    engine_daemon daemon(ir_path, records{end_of_list()});
    wrap::plan plan;
    plan.fail("malloc", 1, ENOMEM);
    utm_ir_entry* list = nullptr;
    const std::string printed = printed_by([&] { list = GetParam().call(); });
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(printed, "malloc failed\n");
    EXPECT_EQ(plan.count("recv"), 0);
}

TEST_P(ir_list, entry_that_cannot_be_allocated_ends_it)
{
    engine_daemon daemon(ir_path, records{entry(1, 1), entry(2, 2), entry(3, 3), end_of_list()});
    entries found;
    const std::string printed = printed_by([&] {
        wrap::plan plan;
        plan.fail("malloc", 3, ENOMEM); // head, first entry, second entry
        utm_ir_entry* list = GetParam().call();
        for (const utm_ir_entry* at : nodes_of(list))
            found.emplace_back(at->value, at->second_value);
        free_list(list);
    });
    EXPECT_EQ(found, (entries{{1, 1}}));
    EXPECT_EQ(printed, "");
}

TEST_P(ir_list, without_a_daemon)
{
    expect_null(ENOENT, "connect failed\n");
}

TEST_P(ir_list, failed_send)
{
    engine_daemon daemon(ir_path, records{end_of_list()});
    wrap::plan plan;
    plan.fail("send", 1, ENOBUFS);
    expect_null(ENOBUFS, "send failed\n");
    EXPECT_EQ(plan.count("recv"), 0);
}

TEST_P(ir_list, descriptor_0_is_no_connection)
{
    engine_daemon daemon(ir_path, records{end_of_list()});
    closed_stdin closed;
    EXPECT_EQ(GetParam().call(), nullptr);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(fcntl(0, F_GETFD), FD_CLOEXEC);
}

sim::bytes version(uint32_t first, uint32_t second, uint32_t third)
{
    sim::bytes record = ir_reply(0);
    put_u32(record, 4, first);
    put_u32(record, 8, second);
    put_u32(record, 12, third);
    return record;
}

std::string version_text(const sim::bytes& reply)
{
    engine_daemon daemon(ir_path, records{reply});
    wrap::plan plan;
    char* text = utm_ir_show_db_status();
    EXPECT_EQ(plan.calls("malloc"), std::vector<std::string>{"malloc(128)"});
    EXPECT_NE(text, nullptr);
    const std::string copy = text == nullptr ? "" : text;
    free(text);
    return copy;
}

// Deliberate: the version 0.x.0, where x is not 0, reads as none; no other does.
TEST(ir_version, as_text)
{
    EXPECT_EQ(version_text(version(2, 1, 15)), "2.1.15");
    EXPECT_EQ(version_text(version(0, 5, 0)), "none");
    EXPECT_EQ(version_text(version(0, 0xffffffff, 0)), "none");
    EXPECT_EQ(version_text(version(0, 0, 0)), "0.0.0");
    EXPECT_EQ(version_text(version(1, 0, 0)), "1.0.0");
    EXPECT_EQ(version_text(version(0, 0, 1)), "0.0.1");
    EXPECT_EQ(version_text(version(0, 5, 1)), "0.5.1");
    EXPECT_EQ(version_text(version(1, 5, 0)), "1.5.0");
    EXPECT_EQ(version_text(version(0xffffffff, 0x80000000, 0x7fffffff)), "-1.-2147483648.2147483647");
}

void expect_no_version(int cause, const std::string& line)
{
    const std::string printed = printed_by([&] {
        EXPECT_EQ(utm_ir_show_db_status(), nullptr);
        EXPECT_EQ(errno, cause);
    });
    EXPECT_EQ(printed, line);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(ir_version, refused)
{
    for (int32_t status : {1, -1}) {
        engine_daemon daemon(ir_path, records{ir_reply(status)});
        expect_no_version(EREMOTEIO, "");
    }
}

TEST(ir_version, without_a_daemon)
{
    expect_no_version(ENOENT, "connect failed\n");
}

TEST(ir_version, failed_send_and_receive)
{
    engine_daemon daemon(ir_path, records{version(1, 2, 3)});
    for (const std::string call : {"send", "recv"}) {
        wrap::plan plan;
        plan.fail(call, 1, EIO);
        expect_no_version(EIO, call + " failed\n");
    }
}

TEST(ir_version, short_or_missing_reply)
{
    for (size_t size : {4U, 12U, 15U}) {
        engine_daemon daemon(ir_path, records{first_bytes(version(1, 2, 3), size)});
        expect_no_version(EPROTO, "");
    }
    engine_daemon daemon(ir_path, records{});
    expect_no_version(ENODATA, "recv failed\n");
}

TEST(ir_version, text_that_cannot_be_allocated)
{
    engine_daemon daemon(ir_path, records{version(1, 2, 3)});
    wrap::plan plan;
    plan.fail("malloc", 1, ENOMEM);
    char* text = nullptr;
    const std::string printed = printed_by([&] { text = utm_ir_show_db_status(); });
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(printed, "");
}

TEST(ir_version, descriptor_0_is_no_connection)
{
    engine_daemon daemon(ir_path, records{version(1, 2, 3)});
    closed_stdin closed;
    EXPECT_EQ(utm_ir_show_db_status(), nullptr);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(fcntl(0, F_GETFD), FD_CLOEXEC);
}

} // namespace
