#include "tests/sim/client.h"
#include "tests/sim/engine_gateway.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using client::bytes;
using client::with_number;
using client::with_text;
using sim::json;

constexpr char path[] = "/tmp/utm_ir";

bytes request(uint32_t code)
{
    return client::request(132, code);
}

bytes value_request(uint32_t code, uint32_t value)
{
    return with_number(request(code), 4, value);
}

bytes entry_request(uint32_t code, uint32_t value, uint32_t second)
{
    return with_number(value_request(code, value), 8, second, 2);
}

bytes reply(uint32_t status)
{
    return with_number(bytes(16), 0, status);
}

bytes entry(uint32_t value, uint32_t second)
{
    return with_number(with_number(bytes(16), 4, value), 8, second, 2);
}

std::vector<bytes> ask_for_list(uint32_t code, size_t packets)
{
    return client::exchange_packets(path, request(code), packets);
}

bytes ask(const bytes& request)
{
    const std::vector<bytes> packets = client::exchange_packets(path, request, 2);
    return packets.size() == 1 ? packets[0] : bytes();
}

class ir : public testing::Test {
protected:
    json state() const { return gateway_.state("ir"); }
    json trace() const
    {
        const json line = gateway_.trace().back();
        return {line.at("name"), line.at("fields"), line.at("answer")};
    }

    sim::gateway gateway_;
};

TEST_F(ir, starts_without_a_database)
{
    EXPECT_EQ(state().dump(), R"({"on":false,"debug":false,"update_check_freq":0,"max_size_mb":64,"threat_category":0,)"
                              R"("database":"","version":{"first":0,"second":1,"third":0},)"
                              R"("whitelist":[],"blacklist":[]})");
}

TEST_F(ir, is_switched_on_by_0_and_off_by_1)
{
    EXPECT_EQ(ask(request(0)), reply(0));
    EXPECT_EQ(state()["on"], true);
    EXPECT_EQ(trace().dump(), R"(["activate",{},{"status":0}])");
    EXPECT_EQ(ask(request(1)), reply(0));
    EXPECT_EQ(state()["on"], false);
    EXPECT_EQ(trace().dump(), R"(["deactivate",{},{"status":0}])");
}

TEST_F(ir, switches_debugging_on_by_6_and_off_by_7)
{
    EXPECT_EQ(ask(request(6)), reply(0));
    EXPECT_EQ(state()["debug"], true);
    EXPECT_EQ(trace().dump(), R"(["debug on",{},{"status":0}])");
    EXPECT_EQ(ask(request(7)), reply(0));
    EXPECT_EQ(state()["debug"], false);
    EXPECT_EQ(trace().dump(), R"(["debug off",{},{"status":0}])");
}

TEST_F(ir, keeps_the_settings_of_its_database)
{
    EXPECT_EQ(ask(value_request(2, 4'000'000'000)), reply(0));
    EXPECT_EQ(state()["update_check_freq"], 4'000'000'000);
    EXPECT_EQ(trace().dump(), R"(["set update check freq",{"value":4000000000},{"status":0}])");
    EXPECT_EQ(ask(value_request(12, 7)), reply(0));
    EXPECT_EQ(state()["threat_category"], 7);
    EXPECT_EQ(trace().dump(), R"(["set threat category",{"value":7},{"status":0}])");
}

TEST_F(ir, takes_every_size_but_0)
{
    EXPECT_EQ(ask(value_request(3, 0xffffffff)), reply(0));
    EXPECT_EQ(state()["max_size_mb"], -1);
    EXPECT_EQ(trace().dump(), R"(["set max size",{"value":-1},{"status":0}])");
    EXPECT_EQ(ask(value_request(3, 0)), reply(103));
    EXPECT_EQ(state()["max_size_mb"], -1);
}

struct list_case {
    const char* name;
    uint32_t add;
    uint32_t remove;
    uint32_t flush;
    uint32_t get;
};

class ir_list : public testing::TestWithParam<list_case> {
protected:
    std::string entries() const { return gateway_.state("ir").at(GetParam().name).dump(); }
    std::string traced() const
    {
        const json line = gateway_.trace().back();
        return line.at("name").get<std::string>() + line.at("fields").dump();
    }

    sim::gateway gateway_;
};

INSTANTIATE_TEST_SUITE_P(each, ir_list,
                         testing::Values(list_case{"whitelist", 8, 9, 11, 16}, list_case{"blacklist", 13, 14, 15, 17}),
                         [](const auto& each_case) { return each_case.param.name; });

TEST_P(ir_list, holds_an_entry_once)
{
    EXPECT_EQ(ask(entry_request(GetParam().add, 0xc0a80101, 443)), reply(0));
    EXPECT_EQ(traced(), std::string("add to ") + GetParam().name + R"({"value":3232235777,"second_value":443})");
    EXPECT_EQ(ask(entry_request(GetParam().add, 0xc0a80101, 443)), reply(101));
    EXPECT_EQ(ask(entry_request(GetParam().add, 0xc0a80101, 80)), reply(0));
    EXPECT_EQ(entries(), R"([{"value":3232235777,"second_value":443},{"value":3232235777,"second_value":80}])");
}

TEST_P(ir_list, gives_entries_up)
{
    ask(entry_request(GetParam().add, 1, 2));
    EXPECT_EQ(ask(entry_request(GetParam().remove, 1, 3)), reply(102));
    EXPECT_EQ(ask(entry_request(GetParam().remove, 1, 2)), reply(0));
    EXPECT_EQ(traced(), std::string("remove from ") + GetParam().name + R"({"value":1,"second_value":2})");
    EXPECT_EQ(entries(), "[]");
}

TEST_P(ir_list, is_flushed_alone)
{
    for (const uint32_t add : {8U, 13U})
        ask(entry_request(add, 1, 2));
    EXPECT_EQ(ask(request(GetParam().flush)), reply(0));
    EXPECT_EQ(traced(), std::string("flush ") + GetParam().name + "{}");
    EXPECT_EQ(entries(), "[]");
    const json state = gateway_.state("ir");
    EXPECT_EQ(state["whitelist"].size() + state["blacklist"].size(), 1U);
}

TEST_P(ir_list, is_streamed_in_order)
{
    ask(entry_request(GetParam().add, 7, 1));
    ask(entry_request(GetParam().add, 5, 0xffff));
    EXPECT_EQ(ask_for_list(GetParam().get, 4), (std::vector<bytes>{entry(7, 1), entry(5, 0xffff), reply(1)}));
    EXPECT_EQ(gateway_.trace().back().at("answer").dump(),
              R"({"status":1,"records":3,"entries":[{"value":7,"second_value":1},{"value":5,"second_value":65535}]})");
}

TEST_P(ir_list, is_streamed_when_empty)
{
    EXPECT_EQ(ask_for_list(GetParam().get, 2), std::vector<bytes>{reply(1)});
}

TEST_F(ir, takes_both_flush_steps_on_one_connection)
{
    ask(entry_request(8, 1, 2));
    ask(entry_request(13, 3, 4));
    const int connection = client::dial(path, SOCK_SEQPACKET);
    for (const uint32_t step : {11U, 15U}) {
        bytes answer(16, 0xff);
        EXPECT_EQ(send(connection, request(step).data(), 132, 0), 132);
        EXPECT_EQ(recv(connection, answer.data(), answer.size(), 0), 16);
        EXPECT_EQ(answer, reply(0));
    }
    close(connection);
    EXPECT_EQ(state()["whitelist"].size() + state()["blacklist"].size(), 0U);
}

TEST_F(ir, counts_the_databases_it_loads)
{
    EXPECT_EQ(ask(request(19)), with_number(reply(0), 8, 1));
    EXPECT_EQ(trace().dump(), R"(["show db status",{},{"status":0,"fields":{"first":0,"second":1,"third":0}}])");
    EXPECT_EQ(ask(with_text(request(18), 4, "/etc/ir.db")), reply(0));
    EXPECT_EQ(trace().dump(), R"(["load db",{"path":"/etc/ir.db"},{"status":0}])");
    EXPECT_EQ(state()["database"], "/etc/ir.db");
    EXPECT_EQ(ask(request(19)), with_number(with_number(reply(0), 8, 1), 12, 1));
}

TEST_F(ir, reads_a_path_that_fills_its_field)
{
    const std::string long_path(128, 'x');
    EXPECT_EQ(ask(with_text(request(18), 4, long_path)), reply(0));
    EXPECT_EQ(state()["database"], long_path);
}

TEST_F(ir, refuses_other_codes)
{
    EXPECT_EQ(ask(request(4)), reply(105));
    EXPECT_EQ(trace().dump(), R"(["code 4",{},{"status":105}])");
}

TEST_F(ir, takes_no_packet_of_another_size)
{
    for (const size_t size : {131U, 133U})
        EXPECT_EQ(client::exchange_packets(path, client::request(size, 0), 1).size(), 0U);
    EXPECT_EQ(state()["on"], false);
    EXPECT_EQ(trace().dump(), R"(["activate",{},{"incomplete":true}])");
}

TEST(ir_scenario, starts_the_database_with_its_state)
{
    const char state[] = R"({"on":true,"debug":true,"update_check_freq":24,"max_size_mb":128,"threat_category":3,)"
                         R"("database":"/etc/ir.db","version":{"first":2,"second":1,"third":15},)"
                         R"("whitelist":[{"value":1,"second_value":2}],"blacklist":[{"value":3,"second_value":4}]})";
    const sim::gateway gateway = gateway_with("ir", json::parse(state));
    EXPECT_EQ(gateway.state("ir").dump(), state);
    EXPECT_EQ(ask(request(19)), with_number(with_number(with_number(reply(0), 4, 2), 8, 1), 12, 15));
}

TEST(ir_scenario, refuses_an_entry_that_is_there_twice)
{
    EXPECT_THROW(gateway_with("ir", json::parse(R"({"whitelist":[{"value":1,"second_value":2},
                                                                 {"value":1,"second_value":2}]})")),
                 sim::input_error);
    EXPECT_THROW(gateway_with("ir", json::parse(R"({"whitelist":[{"value":1,"second_value":65536}]})")),
                 sim::input_error);
}

class ir_stream : public testing::TestWithParam<uint32_t> {};

INSTANTIATE_TEST_SUITE_P(of, ir_stream, testing::Values(0, 1, 1000, LONG_STREAM));

TEST_P(ir_stream, has_any_length)
{
    json entries = json::array();
    for (uint32_t value = 0; value < GetParam(); value++)
        entries.push_back({{"value", value}, {"second_value", value % 65536}});
    const sim::gateway gateway = gateway_with("ir", {{"blacklist", entries}});
    const std::vector<bytes> packets = ask_for_list(17, GetParam() + 2);
    ASSERT_EQ(packets.size(), GetParam() + 1);
    for (uint32_t value = 0; value < GetParam(); value++)
        ASSERT_EQ(packets[value], entry(value, value % 65536));
    EXPECT_EQ(packets.back(), reply(1));
}

} // namespace
