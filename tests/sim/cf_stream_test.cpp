// Browsed domains as the content-filter daemon streams them, and its lines in the trace.

#include "sim/gateway.h"
#include "tests/sim/client.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

using client::bytes;
using client::config_reply;
using client::join;
using client::text;
using client::u32;
using sim::json;

sim::gateway gateway_with(const json& browsed)
{
    const json profiles = {{{"id", 7}, {"browsed_domains", browsed}}};
    return sim::gateway({.start = sim::scenario_from(json{{"cf", {{"state", {{"profiles", profiles}}}}}}, "home")});
}

bytes browsed(size_t records)
{
    return client::exchange("/dev/utm_cf_config_socket", client::cf_request(25, 7), 832 * records, 60'000);
}

bytes entry(const std::string& domain, uint32_t value)
{
    return config_reply(2, {{288, bytes(domain.begin(), domain.end())}, {800, u32(value)}});
}

TEST(cf_stream, of_a_profile_without_domains_is_its_end)
{
    const sim::gateway gateway = gateway_with(json::array());
    EXPECT_EQ(browsed(1), config_reply(0));
}

TEST(cf_stream, of_one)
{
    const std::string longest(511, 'x');
    const sim::gateway gateway = gateway_with({{{"domain", longest}, {"value", 0xfffffffe}}});
    EXPECT_EQ(browsed(2), join({entry(longest, 0xfffffffe), config_reply(0)}));
}

TEST(cf_stream, of_three)
{
    const sim::gateway gateway = gateway_with(
        {{{"domain", "b.example"}, {"value", 3}}, {{"domain", ""}}, {{"domain", "a.example"}, {"value", 1}}});
    EXPECT_EQ(browsed(4), join({entry("b.example", 3), entry("", 0), entry("a.example", 1), config_reply(0)}));
}

TEST(cf_stream, of_very_many)
{
    constexpr uint32_t count = LONG_STREAM;
    json domains = json::array();
    for (uint32_t number = 0; number < count; number++)
        domains.push_back({{"domain", std::to_string(number) + ".example"}, {"value", number}});
    const sim::gateway gateway = gateway_with(domains);
    const bytes stream = browsed(count + 1);
    ASSERT_EQ(stream.size(), 832U * (count + 1));
    uint32_t right = 0;
    for (uint32_t number = 0; number < count; number++) {
        const bytes expected = entry(std::to_string(number) + ".example", number);
        right += std::equal(expected.begin(), expected.end(), stream.begin() + 832L * number) ? 1 : 0;
    }
    EXPECT_EQ(right, count);
    EXPECT_EQ(bytes(stream.end() - 832, stream.end()), config_reply(0));
}

TEST(cf_stream, fills_its_field_where_a_domain_is_longer)
{
    const sim::gateway gateway = gateway_with({{{"domain", std::string(600, 'x')}, {"value", 1}}});
    EXPECT_EQ(browsed(2), join({entry(std::string(512, 'x'), 1), config_reply(0)}));
}

TEST(cf_stream, needs_a_known_profile)
{
    const sim::gateway gateway;
    EXPECT_EQ(browsed(1), config_reply(102));
}

// Every code, and what its line in the trace says of its request.
struct trace_case {
    uint8_t code;
    bytes body;
    const char* name;
    std::string fields;
};

const trace_case trace_cases[] = {
    {0, text("/tmp/dump"), "dump", R"({"path":"/tmp/dump"})"},
    {1, u32(7), "create profile", R"({"id":7})"},
    {2, u32(7), "delete profile", R"({"id":7})"},
    {3, join({u32(7), {2, 0x42, 0xac, 0x11, 0, 5}}), "add device", R"({"id":7,"mac":"02:42:ac:11:00:05"})"},
    {4, join({u32(7), {2, 0x42, 0xac, 0x11, 0, 5}}), "delete device", R"({"id":7,"mac":"02:42:ac:11:00:05"})"},
    {5, u32(20), "create policy", R"({"policy":20})"},
    {6, join({u32(20), bytes(128, 0x0a)}), "set block", ""},
    {7, join({u32(7), u32(20)}), "bind policy", R"({"profile":7,"policy":20})"},
    {8, text("http://a/"), "add trusted URL", R"({"url":"http://a/"})"},
    {9, text("http://a/"), "delete trusted URL", R"({"url":"http://a/"})"},
    {10, text("http://a/"), "add forbidden URL", R"({"url":"http://a/"})"},
    {11, text("http://a/"), "delete forbidden URL", R"({"url":"http://a/"})"},
    {12, join({u32(20), text("a")}), "add trusted domain", R"({"policy":20,"domain":"a"})"},
    {13, join({u32(20), text("a")}), "delete trusted domain", R"({"policy":20,"domain":"a"})"},
    {14, join({u32(20), text("a")}), "add forbidden domain", R"({"policy":20,"domain":"a"})"},
    {15, join({u32(20), text("a")}), "delete forbidden domain", R"({"policy":20,"domain":"a"})"},
    {16, join({u32(20), text("a")}), "add keyword", R"({"policy":20,"keyword":"a"})"},
    {17, join({u32(20), text("a")}), "delete keyword", R"({"policy":20,"keyword":"a"})"},
    {18, u32(1), "switch web safe browsing", R"({"value":1})"},
    {19, u32(1), "code 19", "{}"},
    {20, u32(0), "switch web category", R"({"value":0})"},
    {22, u32(0xffffffff), "debug", R"({"value":-1})"},
    {23, u32(0), "flush", R"({"type":0})"},
    {24, join({u32(20), u32(3)}), "flush policy", R"({"policy":20,"type":3})"},
    {25, u32(7), "get browsed domains", R"({"profile":7})"},
};

TEST(cf_trace, names_every_field)
{
    const sim::gateway gateway;
    for (const trace_case& each : trace_cases)
        client::exchange("/dev/utm_cf_config_socket", client::cf_request(each.code, each.body));
    const std::vector<json> trace = gateway.trace();
    ASSERT_EQ(trace.size(), std::size(trace_cases));
    std::string block;
    for (int byte = 0; byte < 128; byte++)
        block += "0a";
    for (size_t line = 0; line < trace.size(); line++) {
        const trace_case& expected = trace_cases[line];
        EXPECT_EQ(trace[line].at("name"), expected.name);
        EXPECT_EQ(trace[line].at("fields").dump(),
                  expected.code == 6 ? R"({"policy":20,"block":")" + block + "\"}" : expected.fields);
    }
}

TEST(cf_trace, names_what_a_stream_carries)
{
    const sim::gateway gateway = gateway_with({{{"domain", "a.example"}, {"value", 3}}});
    browsed(2);
    EXPECT_EQ(gateway.trace().at(0).at("answer").dump(),
              R"({"status":0,"records":2,"entries":[{"domain":"a.example","value":3}]})");
}

} // namespace
