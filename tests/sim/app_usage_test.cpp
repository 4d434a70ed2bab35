// What the application daemon streams and reads back, its statistics file, and its lines in the trace.

#include "sim/gateway.h"
#include "tests/sandbox/files.h"
#include "tests/sim/client.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <utility>

namespace {

using client::bytes;
using client::config_reply;
using client::join;
using client::text;
using client::u32;
using sim::json;

sim::gateway gateway_with(const json& state)
{
    return sim::gateway({.start = sim::scenario_from(json{{"app", {{"state", state}}}}, "home")});
}

sim::gateway gateway_with_profile(const char* member, const json& value)
{
    return gateway_with({{"profiles", {{{"id", 7}, {member, value}}}}});
}

bytes ask(uint8_t code, const bytes& body, size_t records = 1)
{
    return client::exchange("/dev/utm_app_config_socket", client::app_request(code, body), 832 * records, 60'000);
}

bytes query(uint32_t app)
{
    return join({u32(7), u32(app)});
}

// The three lists: how an entry looks in the scenario and on the wire.
struct list_case {
    const char* name;
    uint8_t code;
    const char* member;
    const char* list;
    json (*entry)(uint32_t number);
    bytes (*record)(uint32_t number);
};

const list_case lists[] = {
    {"weekday_limits", 31, "limits", "weekday_limits",
     [](uint32_t number) {
         return json{{"weekday", number}, {"limit", -1}};
     },
     [](uint32_t number) {
         return config_reply(2, {{264, u32(number)}, {268, u32(0xffffffff)}});
     }},
    {"usage_by_application", 36, "usage", "apps",
     [](uint32_t number) {
         return json{{"app", number}, {"minutes", 0xfffffffeU}};
     },
     [](uint32_t number) {
         return config_reply(2, {{48, u32(number)}, {52, u32(0xfffffffe)}});
     }},
    {"usage_of_earlier_days", 37, "usage", "earlier_days",
     [](uint32_t number) {
         return json{{"app", number}, {"minutes", {5, 0, 7}}};
     },
     [](uint32_t number) {
         return config_reply(2, {{80, u32(number)}, {84, u32(5)}, {92, u32(7)}});
     }},
};

class app_stream : public testing::TestWithParam<list_case> {
protected:
    void expect_stream_of(uint32_t count) const
    {
        json entries = json::array();
        for (uint32_t number = 0; number < count; number++)
            entries.push_back(GetParam().entry(number));
        const sim::gateway gateway = gateway_with_profile(GetParam().member, {{GetParam().list, entries}});
        const bytes stream = ask(GetParam().code, query(0), count + 1);
        ASSERT_EQ(stream.size(), 832U * (count + 1));
        uint32_t right = 0;
        for (uint32_t number = 0; number < count; number++) {
            const bytes expected = GetParam().record(number);
            right += std::equal(expected.begin(), expected.end(), stream.begin() + 832L * number) ? 1 : 0;
        }
        EXPECT_EQ(right, count);
        EXPECT_EQ(bytes(stream.end() - 832, stream.end()), config_reply(0));
    }
};

INSTANTIATE_TEST_SUITE_P(each, app_stream, testing::ValuesIn(lists),
                         [](const auto& each_case) { return each_case.param.name; });

TEST_P(app_stream, of_none_is_its_end)
{
    expect_stream_of(0);
}

TEST_P(app_stream, of_one)
{
    expect_stream_of(1);
}

TEST_P(app_stream, of_three)
{
    expect_stream_of(3);
}

TEST_P(app_stream, of_very_many)
{
    expect_stream_of(LONG_STREAM);
}

TEST_P(app_stream, needs_a_known_profile)
{
    const sim::gateway gateway;
    EXPECT_EQ(ask(GetParam().code, query(0)), config_reply(102));
}

TEST_P(app_stream, is_traced_with_its_entries)
{
    const sim::gateway gateway = gateway_with_profile(GetParam().member, {{GetParam().list, {GetParam().entry(3)}}});
    ask(GetParam().code, query(0), 2);
    const json answer = gateway.trace().at(0).at("answer");
    EXPECT_EQ(answer.at("records"), 2);
    ASSERT_EQ(answer.at("entries").size(), 1U);
    EXPECT_EQ(answer.at("entries").at(0).front(), 3);
}

TEST(app_usage, of_one_application)
{
    const sim::gateway gateway =
        gateway_with_profile("usage", {{"apps", {lists[1].entry(3), lists[1].entry(4), lists[1].entry(3)}},
                                       {"earlier_days", {lists[2].entry(3), lists[2].entry(4)}}});
    EXPECT_EQ(ask(36, query(3), 3), join({lists[1].record(3), lists[1].record(3), config_reply(0)}));
    EXPECT_EQ(ask(37, query(4), 2), join({lists[2].record(4), config_reply(0)}));
    EXPECT_EQ(ask(36, query(5)), config_reply(0));
}

TEST(app_usage, fills_all_earlier_days)
{
    std::vector<uint32_t> days(31);
    bytes figures;
    for (uint32_t day = 0; day < 31; day++) {
        days[day] = 1000 + day;
        figures = join({figures, u32(1000 + day)});
    }
    const sim::gateway gateway = gateway_with_profile("usage", {{"earlier_days", {{{"app", 3}, {"minutes", days}}}}});
    EXPECT_EQ(ask(37, query(0), 2), join({config_reply(2, {{80, u32(3)}, {84, figures}}), config_reply(0)}));
}

TEST(app_usage, has_no_room_for_a_32nd_day)
{
    const json earlier = {{{"app", 3}, {"minutes", std::vector<uint32_t>(32)}}};
    try {
        gateway_with_profile("usage", {{"earlier_days", earlier}});
        FAIL();
    } catch (const sim::input_error& error) {
        EXPECT_STREQ(error.what(),
                     "home.app.state.profiles.usage.earlier_days.minutes: there is no room for more than 31");
    }
}

TEST(app_usage, has_three_figures)
{
    const sim::gateway gateway = gateway_with_profile("usage", {{"today", 30}, {"week", 200}, {"month", 0xffffffffU}});
    EXPECT_EQ(ask(35, u32(7)), config_reply(0, {{16, u32(30)}, {20, u32(200)}, {24, u32(0xffffffff)}}));
    EXPECT_EQ(ask(35, u32(8)), config_reply(102));
}

TEST(app_status, comes_from_the_scenario)
{
    const sim::gateway gateway = gateway_with({{"status", {{"first", 1}, {"second", 0xffffffffU}, {"third", 3}}}});
    EXPECT_EQ(ask(47, {}), config_reply(0, {{236, u32(1)}, {240, u32(0xffffffff)}, {244, u32(3)}}));
}

constexpr char statistics_file[] = "/tmp/ApplicationData/app_usage.json";

json usage(uint32_t today)
{
    return {{"today", today},
            {"week", 200},
            {"month", 900},
            {"apps", {lists[1].entry(3)}},
            {"earlier_days", {lists[2].entry(3)}}};
}

TEST(app_statistics, are_exported_as_json)
{
    const json profiles = {{{"id", 7}, {"usage", usage(30)}}, {{"id", 8}}};
    const sim::gateway gateway = gateway_with({{"profiles", profiles}});
    EXPECT_EQ(ask(51, text(statistics_file)), config_reply(0));
    EXPECT_EQ(json::parse(content_of(statistics_file)).dump(),
              R"({"profiles":[{"id":7,"today":30,"week":200,"month":900,"apps":[{"app":3,"minutes":4294967294}],)"
              R"("earlier_days":[{"app":3,"minutes":[5,0,7]}]},)"
              R"({"id":8,"today":0,"week":0,"month":0,"apps":[],"earlier_days":[]}]})");
}

TEST(app_statistics, come_back_with_an_import)
{
    const sim::gateway gateway = gateway_with_profile("usage", usage(30));
    ask(51, text(statistics_file));
    gateway.restart("app");
    ask(1, u32(7));
    EXPECT_EQ(ask(50, text(statistics_file)), config_reply(0));
    EXPECT_EQ(gateway.state("app").at("profiles").at(0).at("usage"), usage(30));
}

TEST(app_statistics, of_unknown_profiles_are_left_out)
{
    const sim::gateway gateway = gateway_with_profile("usage", usage(30));
    write_file("/tmp/statistics", R"({"profiles":[{"id":9,"today":1}]})");
    EXPECT_EQ(ask(50, text("/tmp/statistics")), config_reply(0));
    const json profiles = gateway.state("app").at("profiles");
    EXPECT_EQ(profiles.size(), 1U);
    EXPECT_EQ(profiles.at(0).at("usage"), usage(30));
}

TEST(app_statistics, that_are_none_change_nothing)
{
    const sim::gateway gateway = gateway_with_profile("usage", usage(30));
    for (const char* wrong : {"", "{", "[]", R"({"profiles":[{"today":1}]})", R"({"profiles":[{"id":7,"year":1}]})",
                              R"({"profiles":[{"id":7,"today":1},{"id":7}]})"}) {
        write_file("/tmp/statistics", wrong);
        EXPECT_EQ(ask(50, text("/tmp/statistics")), config_reply(112)) << wrong;
    }
    EXPECT_EQ(ask(50, text("/tmp/missing")), config_reply(111));
    EXPECT_EQ(ask(51, text("/tmp/missing/deep/statistics")), config_reply(111));
    EXPECT_EQ(gateway.state("app").at("profiles").at(0).at("usage"), usage(30));
}

// Every code, and what its line in the trace says of its request.
struct trace_case {
    uint8_t code;
    bytes body;
    const char* name;
    std::string fields;
};

// A number of its own in each place of a body with limits.
const bytes limits = join({u32(7), u32(2), u32(3), u32(4), u32(5), u32(6)});

const trace_case trace_cases[] = {
    {1, u32(7), "create profile", R"({"id":7})"},
    {26, limits, "switch daily limit", R"({"profile":7,"enable":3})"},
    {27, limits, "get daily limit switch", R"({"profile":7})"},
    {28, limits, "set daily limit", R"({"profile":7,"limit":4})"},
    {29, limits, "get daily limit", R"({"profile":7})"},
    {30, limits, "set weekday limit", R"({"profile":7,"weekday":2,"limit":4})"},
    {31, limits, "get weekday limits", R"({"profile":7})"},
    {32, limits, "set extension", R"({"profile":7,"extension":5})"},
    {33, limits, "get extension", R"({"profile":7})"},
    {34, limits, "reset extension", R"({"profile":7})"},
    {35, limits, "get usage", R"({"profile":7})"},
    {36, limits, "get usage by application", R"({"profile":7,"app":2})"},
    {37, limits, "get usage of earlier days", R"({"profile":7,"app":2})"},
    {38, text("/tmp/dump"), "dump", R"({"path":"/tmp/dump"})"},
    {39, u32(1), "switch application control", R"({"value":1})"},
    {40, u32(1), "code 40", "{}"},
    {41, u32(0xffffffff), "debug", R"({"value":-1})"},
    {42, u32(20), "create policy", R"({"policy":20})"},
    {43, join({u32(20), u32(1), {0xab}, bytes(79)}), "add entries",
     R"({"policy":20,"count":1,"entries":"ab)" + std::string(158, '0') + "\"}"},
    {44, u32(20), "reset entries", R"({"policy":20})"},
    {45, join({u32(7), u32(20)}), "bind policy", R"({"profile":7,"policy":20})"},
    {46, text("/tmp/signature"), "update signature", R"({"path":"/tmp/signature"})"},
    {47, {}, "get status", "{}"},
    {48, {}, "get export interval", "{}"},
    {49, u32(60), "set export interval", R"({"value":60})"},
    {50, text("/tmp/statistics"), "import statistics", R"({"path":"/tmp/statistics"})"},
    {51, text("/tmp/statistics"), "export statistics", R"({"path":"/tmp/statistics"})"},
};

TEST(app_trace, names_every_field)
{
    const sim::gateway gateway;
    for (const trace_case& each : trace_cases)
        ask(each.code, each.body);
    const std::vector<json> trace = gateway.trace();
    ASSERT_EQ(trace.size(), std::size(trace_cases));
    for (size_t line = 0; line < trace.size(); line++) {
        EXPECT_EQ(trace[line].at("name"), trace_cases[line].name);
        EXPECT_EQ(trace[line].at("fields").dump(), trace_cases[line].fields);
    }
}

TEST(app_trace, names_what_an_answer_carries)
{
    const sim::gateway gateway =
        gateway_with({{"profiles",
                       {{{"id", 7},
                         {"limits", {{"daily_limit_enable", 1}, {"daily_limit", 90}, {"extension", -5}}},
                         {"usage", {{"today", 30}, {"week", 200}, {"month", 900}}}}}},
                      {"status", {{"first", 1}, {"second", 2}, {"third", 3}}},
                      {"export_interval", 60}});
    const std::pair<uint8_t, const char*> expected[] = {{27, R"({"enable":1})"},
                                                        {29, R"({"limit":90})"},
                                                        {33, R"({"extension":-5})"},
                                                        {35, R"({"today":30,"week":200,"month":900})"},
                                                        {47, R"({"first":1,"second":2,"third":3})"},
                                                        {48, R"({"interval":60})"}};
    for (const auto& [code, fields] : expected) {
        ask(code, u32(7));
        EXPECT_EQ(gateway.trace().back().at("answer").at("fields").dump(), fields);
    }
}

} // namespace
