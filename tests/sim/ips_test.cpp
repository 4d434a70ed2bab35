#include "tests/sim/client.h"
#include "tests/sim/engine_gateway.h"

#include <gtest/gtest.h>

namespace {

using client::bytes;
using client::with_number;
using client::with_text;
using sim::json;

constexpr char path[] = "/tmp/utm_ips";

bytes request(uint32_t code)
{
    return client::request(316, code);
}

bytes rule_request(uint32_t code, const std::string& rule, uint32_t action)
{
    return with_number(with_text(request(code), 20, rule), 52, action);
}

bytes reply(uint32_t result)
{
    return with_number(bytes(316), 312, result);
}

bytes entry(const std::string& name)
{
    return with_text(reply(1), 31, name);
}

bytes ask(const bytes& request, size_t records = 1)
{
    return client::exchange(path, request, 316 * records);
}

bytes joined(const std::vector<bytes>& records)
{
    bytes all;
    for (const bytes& record : records)
        all.insert(all.end(), record.begin(), record.end());
    return all;
}

class ips : public testing::Test {
protected:
    json state() const { return gateway_.state("ips"); }
    json trace() const
    {
        const json line = gateway_.trace().back();
        return {line.at("name"), line.at("fields"), line.at("answer")};
    }

    sim::gateway gateway_;
};

TEST_F(ips, starts_with_nothing)
{
    EXPECT_EQ(state().dump(), R"({"on":false,"debug":false,"signature":"","rules":[],"limit":64,)"
                              R"("whitelist":[],"blacklist":[]})");
}

TEST_F(ips, is_switched)
{
    EXPECT_EQ(ask(with_number(request(0), 4, 1)), reply(0));
    EXPECT_EQ(state()["on"], true);
    EXPECT_EQ(trace().dump(), R"(["activate",{"on":1},{"status":0}])");
    EXPECT_EQ(ask(with_number(request(0), 4, 2)), reply(103));
    EXPECT_EQ(state()["on"], true);
    EXPECT_EQ(ask(with_number(request(0), 4, 0)), reply(0));
    EXPECT_EQ(state()["on"], false);
}

TEST_F(ips, switches_debugging)
{
    EXPECT_EQ(ask(with_number(request(7), 12, 1)), reply(0));
    EXPECT_EQ(state()["debug"], true);
    EXPECT_EQ(trace().dump(), R"(["debug",{"debug":1},{"status":0}])");
    EXPECT_EQ(ask(with_number(request(7), 12, 2)), reply(103));
}

TEST_F(ips, shows_its_status)
{
    ask(with_number(request(0), 4, 1));
    ask(with_number(request(7), 12, 1));
    ask(rule_request(3, "1001", 0));
    ask(with_text(request(6), 56, "/etc/ips.sig"));
    bytes status = with_text(reply(0), 56, "/etc/ips.sig");
    for (size_t word : {4, 8, 12})
        status = with_number(status, word, 1);
    EXPECT_EQ(ask(request(2)), status);
    EXPECT_EQ(trace().dump(), R"(["show status",{},{"status":0,"fields":{"on":1,"customized_rules":1,"debug":1,)"
                              R"("signature":"/etc/ips.sig"}}])");
}

TEST_F(ips, lists_rules_once)
{
    EXPECT_EQ(ask(rule_request(3, "1001", 0)), reply(0));
    EXPECT_EQ(trace().dump(), R"(["set whitelist",{"rule":"1001","action":0},{"status":0}])");
    EXPECT_EQ(ask(rule_request(3, "1001", 0)), reply(101));
    EXPECT_EQ(ask(rule_request(4, "2002", 0)), reply(0));
    EXPECT_EQ(trace().dump(), R"(["set blacklist",{"rule":"2002","action":0},{"status":0}])");
    EXPECT_EQ(ask(rule_request(4, "2002", 0)), reply(101));
    EXPECT_EQ(ask(rule_request(3, "1001", 2)), reply(103));
    EXPECT_EQ(state()["whitelist"].dump(), R"(["1001"])");
    EXPECT_EQ(state()["blacklist"].dump(), R"(["2002"])");
}

TEST_F(ips, takes_rules_off_their_list)
{
    ask(rule_request(3, "1001", 0));
    EXPECT_EQ(ask(rule_request(4, "1001", 1)), reply(102));
    EXPECT_EQ(ask(rule_request(3, "1001", 1)), reply(0));
    EXPECT_EQ(ask(rule_request(3, "1001", 1)), reply(102));
    EXPECT_EQ(state()["whitelist"].dump(), "[]");
}

TEST_F(ips, reads_an_identifier_that_fills_its_field)
{
    ask(rule_request(3, "12345678901", 0));
    EXPECT_EQ(state()["whitelist"].dump(), R"(["12345678901"])");
}

TEST_F(ips, loads_a_signature)
{
    EXPECT_EQ(ask(with_text(request(6), 56, "/etc/ips.sig")), reply(0));
    EXPECT_EQ(state()["signature"], "/etc/ips.sig");
    EXPECT_EQ(trace().dump(), R"(["update signature",{"signature":"/etc/ips.sig"},{"status":0}])");
}

TEST_F(ips, flushes_by_mode)
{
    const auto fill = [] {
        ask(rule_request(3, "1", 0));
        ask(rule_request(4, "2", 0));
    };
    fill();
    EXPECT_EQ(ask(with_number(request(9), 16, 3)), reply(103));
    EXPECT_EQ(ask(with_number(request(9), 16, 1)), reply(0));
    EXPECT_EQ(trace().dump(), R"(["flush",{"mode":1},{"status":0}])");
    EXPECT_EQ(state()["whitelist"].dump() + state()["blacklist"].dump(), R"([]["2"])");
    fill();
    EXPECT_EQ(ask(with_number(request(9), 16, 2)), reply(0));
    EXPECT_EQ(state()["whitelist"].dump() + state()["blacklist"].dump(), R"(["1"][])");
    fill();
    EXPECT_EQ(ask(with_number(request(9), 16, 0)), reply(0));
    EXPECT_EQ(state()["whitelist"].dump() + state()["blacklist"].dump(), "[][]");
}

TEST_F(ips, refuses_other_codes)
{
    const json before = state();
    EXPECT_EQ(ask(request(1)), reply(105));
    EXPECT_EQ(state(), before);
    EXPECT_EQ(trace().dump(), R"(["code 1",{},{"status":105}])");
}

TEST_F(ips, streams_an_empty_list)
{
    EXPECT_EQ(ask(request(5), 2), reply(0));
    EXPECT_EQ(trace().dump(), R"(["show customizelist",{},{"status":0,"entries":[]}])");
}

TEST(ips_scenario, streams_both_lists_with_the_names_of_their_rules)
{
    const sim::gateway gateway = gateway_with("ips", json::parse(R"({"rules":[{"id":"1001","name":"SQL injection"}],
        "whitelist":["1001"],"blacklist":["2002"]})"));
    EXPECT_EQ(ask(request(5), 4), joined({entry("SQL injection"), entry("2002"), reply(0)}));
    EXPECT_EQ(gateway.trace().back().at("answer").dump(),
              R"({"status":0,"records":3,"entries":[{"name":"SQL injection"},{"name":"2002"}]})");
}

TEST(ips_scenario, tells_when_the_limit_is_reached)
{
    const sim::gateway gateway = gateway_with("ips", {{"limit", 2}, {"whitelist", {"1"}}});
    EXPECT_EQ(ask(rule_request(4, "2", 0)), reply(0));
    EXPECT_EQ(ask(rule_request(4, "3", 0)), reply(104));
    EXPECT_EQ(ask(request(5), 4), joined({entry("1"), entry("2"), reply(0xffffffff)}));
    EXPECT_EQ(gateway.trace().back().at("answer").dump(),
              R"({"status":-1,"records":3,"entries":[{"name":"1"},{"name":"2"}]})");
}

TEST(ips_scenario, keeps_rules_and_limit_over_a_reset)
{
    const sim::gateway gateway = gateway_with("ips", json::parse(R"({"on":true,"debug":true,"signature":"/etc/ips.sig",
        "rules":[{"id":"1","name":"one"}],"limit":9,"whitelist":["1"],"blacklist":["2"]})"));
    EXPECT_EQ(ask(request(8)), reply(0));
    EXPECT_EQ(gateway.state("ips").dump(),
              R"({"on":false,"debug":false,"signature":"","rules":[{"id":"1","name":"one"}],"limit":9,)"
              R"("whitelist":[],"blacklist":[]})");
}

class ips_stream : public testing::TestWithParam<size_t> {};

INSTANTIATE_TEST_SUITE_P(of, ips_stream, testing::Values(0, 1, 1000, LONG_STREAM));

TEST_P(ips_stream, has_any_length)
{
    json rules = json::array();
    for (size_t rule = 0; rule < GetParam(); rule++)
        rules.push_back(std::to_string(rule));
    const sim::gateway gateway = gateway_with("ips", {{"limit", GetParam() + 1}, {"whitelist", rules}});
    const bytes answer = ask(request(5), GetParam() + 2);
    ASSERT_EQ(answer.size(), 316 * (GetParam() + 1));
    for (size_t rule = 0; rule < GetParam(); rule++) {
        const auto first = answer.begin() + static_cast<std::ptrdiff_t>(316 * rule);
        ASSERT_EQ(bytes(first, first + 316), entry(std::to_string(rule)));
    }
    EXPECT_EQ(bytes(answer.end() - 316, answer.end()), reply(0));
    EXPECT_EQ(gateway.trace().back().at("answer").at("entries").size(), std::min<size_t>(GetParam(), 100));
}

} // namespace
