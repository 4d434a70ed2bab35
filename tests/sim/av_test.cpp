#include "tests/sim/client.h"
#include "tests/sim/engine_gateway.h"

#include <gtest/gtest.h>

namespace {

using client::bytes;
using client::with_number;
using client::with_text;
using sim::json;

constexpr char path[] = "/tmp/utm_av";

bytes request(uint32_t code)
{
    return client::request(96, code);
}

bytes entry_request(const std::string& entry, uint32_t operation)
{
    return with_number(with_text(request(6), 20, entry), 88, operation);
}

bytes reply(uint32_t status)
{
    return with_number(bytes(96), 92, status);
}

const bytes end_of_list = reply(0xffffffff);

bytes ask(const bytes& request, size_t records = 1)
{
    return client::exchange(path, request, 96 * records);
}

class av : public testing::Test {
protected:
    json state() const { return gateway_.state("av"); }
    json trace() const
    {
        const json line = gateway_.trace().back();
        return {line.at("name"), line.at("fields"), line.at("answer")};
    }

    sim::gateway gateway_;
};

TEST_F(av, starts_with_nothing)
{
    EXPECT_EQ(state().dump(), R"({"on":false,"debug":false,"cache_size":10,"whitelist":[],"cache":[]})");
}

TEST_F(av, is_switched)
{
    EXPECT_EQ(ask(with_number(request(0), 4, 1)), reply(0));
    EXPECT_EQ(state()["on"], true);
    EXPECT_EQ(trace().dump(), R"(["activate",{"on":1},{"status":0}])");
    EXPECT_EQ(ask(with_number(request(0), 4, 2)), reply(103));
    EXPECT_EQ(ask(with_number(request(0), 4, 0)), reply(0));
    EXPECT_EQ(state()["on"], false);
}

TEST_F(av, switches_debugging)
{
    EXPECT_EQ(ask(with_number(request(8), 4, 1)), reply(0));
    EXPECT_EQ(state()["debug"], true);
    EXPECT_EQ(trace().dump(), R"(["debug",{"on":1},{"status":0}])");
    EXPECT_EQ(ask(with_number(request(8), 4, 2)), reply(103));
}

TEST_F(av, limits_its_cache)
{
    EXPECT_EQ(ask(with_number(request(4), 16, 0)), reply(0));
    EXPECT_EQ(state()["cache_size"], 0);
    EXPECT_EQ(trace().dump(), R"(["set cache size",{"cache_size":0},{"status":0}])");
    EXPECT_EQ(ask(with_number(request(4), 16, 11)), reply(103));
    EXPECT_EQ(ask(with_number(request(4), 16, 10)), reply(0));
}

TEST_F(av, shows_its_status)
{
    ask(with_number(request(0), 4, 1));
    ask(with_number(request(4), 16, 7));
    EXPECT_EQ(ask(request(1)), with_number(with_number(reply(0), 4, 1), 12, 7));
    EXPECT_EQ(trace().dump(), R"(["show status",{},{"status":0,"fields":{"on":1,"debug":0,"cache_size":7}}])");
    ask(with_number(request(8), 4, 1));
    EXPECT_EQ(ask(request(1)), with_number(with_number(with_number(reply(0), 4, 1), 8, 1), 12, 7));
}

TEST_F(av, whitelists_an_entry_once)
{
    EXPECT_EQ(ask(entry_request("good.exe", 0)), reply(0));
    EXPECT_EQ(trace().dump(), R"(["set whitelist",{"entry":"good.exe","operation":0},{"status":0}])");
    EXPECT_EQ(ask(entry_request("good.exe", 0)), reply(101));
    EXPECT_EQ(ask(entry_request("", 0)), reply(103));
    EXPECT_EQ(ask(entry_request("good.exe", 2)), reply(103));
    EXPECT_EQ(state()["whitelist"].dump(), R"(["good.exe"])");
    EXPECT_EQ(ask(entry_request("good.exe", 1)), reply(0));
    EXPECT_EQ(ask(entry_request("good.exe", 1)), reply(102));
    EXPECT_EQ(state()["whitelist"].dump(), "[]");
}

TEST_F(av, streams_entries_that_fill_their_field)
{
    const std::string whole(33, 'x');
    EXPECT_EQ(ask(entry_request(whole, 0)), reply(0));
    EXPECT_EQ(ask(entry_request("second", 0)), reply(0));
    EXPECT_EQ(state()["whitelist"], json({whole, "second"}));
    bytes expected = with_text(reply(0), 20, whole);
    for (const bytes& record : {with_text(reply(0), 20, "second"), end_of_list})
        expected.insert(expected.end(), record.begin(), record.end());
    EXPECT_EQ(ask(request(7), 4), expected);
    EXPECT_EQ(trace()[2].dump(),
              R"({"status":-1,"records":3,"entries":[{"entry":")" + whole + R"("},)" + R"({"entry":"second"}]})");
}

TEST_F(av, streams_empty_lists)
{
    EXPECT_EQ(ask(request(7), 2), end_of_list);
    EXPECT_EQ(ask(request(5), 2), end_of_list);
}

TEST_F(av, refuses_other_codes)
{
    EXPECT_EQ(ask(request(2)), reply(105));
    EXPECT_EQ(trace().dump(), R"(["code 2",{},{"status":105}])");
}

constexpr char full_state[] = R"({"on":true,"debug":true,"cache_size":3,"whitelist":["good.exe"],)"
                              R"("cache":[{"key":"d41d8cd98f00b204e9800998ecf8427e","value":"clean"},)"
                              R"({"key":"B","value":"infected"}]})";

TEST(av_scenario, streams_the_cache_in_order)
{
    const sim::gateway gateway = gateway_with("av", json::parse(full_state));
    EXPECT_EQ(gateway.state("av").dump(), full_state);
    bytes expected = with_text(with_text(reply(0), 20, "d41d8cd98f00b204e9800998ecf8427e"), 53, "clean");
    for (const bytes& record : {with_text(with_text(reply(0), 20, "B"), 53, "infected"), end_of_list})
        expected.insert(expected.end(), record.begin(), record.end());
    EXPECT_EQ(ask(request(5), 4), expected);
    EXPECT_EQ(gateway.trace().back().at("name"), "show cache");
    EXPECT_EQ(gateway.trace().back().at("answer").dump(),
              R"({"status":-1,"records":3,"entries":[{"key":"d41d8cd98f00b204e9800998ecf8427e","value":"clean"},)"
              R"({"key":"B","value":"infected"}]})");
}

TEST(av_scenario, flushes_the_cache_alone)
{
    const sim::gateway gateway = gateway_with("av", json::parse(full_state));
    EXPECT_EQ(ask(request(10)), reply(0));
    EXPECT_EQ(gateway.state("av").dump(),
              R"({"on":true,"debug":true,"cache_size":3,"whitelist":["good.exe"],"cache":[]})");
}

TEST(av_scenario, resets_everything)
{
    const sim::gateway gateway = gateway_with("av", json::parse(full_state));
    EXPECT_EQ(ask(request(9)), reply(0));
    EXPECT_EQ(gateway.state("av").dump(), R"({"on":false,"debug":false,"cache_size":10,"whitelist":[],"cache":[]})");
}

TEST(av_scenario, takes_no_text_longer_than_its_field)
{
    EXPECT_THROW(gateway_with("av", {{"whitelist", {std::string(34, 'x')}}}), sim::input_error);
    EXPECT_THROW(gateway_with("av", json::parse(R"({"cache":[{"key":"","value":")" + std::string(33, 'x') + "\"}]}")),
                 sim::input_error);
}

class av_stream : public testing::TestWithParam<size_t> {};

INSTANTIATE_TEST_SUITE_P(of, av_stream, testing::Values(0, 1, 1000, LONG_STREAM));

TEST_P(av_stream, has_any_length)
{
    json cache = json::array();
    for (size_t entry = 0; entry < GetParam(); entry++)
        cache.push_back({{"key", std::to_string(entry)}, {"value", "clean"}});
    const sim::gateway gateway = gateway_with("av", {{"cache", cache}});
    const bytes answer = ask(request(5), GetParam() + 2);
    ASSERT_EQ(answer.size(), 96 * (GetParam() + 1));
    for (size_t entry = 0; entry < GetParam(); entry++) {
        const auto first = answer.begin() + static_cast<std::ptrdiff_t>(96 * entry);
        ASSERT_EQ(bytes(first, first + 96), with_text(with_text(reply(0), 20, std::to_string(entry)), 53, "clean"));
    }
    EXPECT_EQ(bytes(answer.end() - 96, answer.end()), end_of_list);
}

} // namespace
