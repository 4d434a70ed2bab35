// The content-filter daemon: every code by literal bytes, and what it holds then.

#include "sim/gateway.h"
#include "tests/sim/client.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

using client::bytes;
using client::config_reply;
using client::text;
using client::u32;
using sim::json;

const bytes tablet = {0x02, 0x42, 0xac, 0x11, 0x00, 0x05};

uint8_t ask(const sim::gateway&, uint8_t code, const bytes& body)
{
    const bytes reply = client::exchange("/dev/utm_cf_config_socket", client::cf_request(code, body));
    EXPECT_EQ(reply, config_reply(reply.empty() ? 0 : reply[0]));
    return reply.at(0);
}

class cf : public testing::Test {
protected:
    // The status; nothing else is in the reply.
    uint8_t ask(uint8_t code, const bytes& body) const { return ::ask(gateway_, code, body); }
    uint8_t ask(uint8_t code, uint32_t first, const bytes& rest = {}) const
    {
        return ask(code, client::join({u32(first), rest}));
    }

    json state(const std::string& member) const { return gateway_.state("cf").at(member); }
    json policy() const { return state("policies").at(0); }

    sim::gateway gateway_;
};

TEST_F(cf, starts_with_nothing)
{
    EXPECT_EQ(gateway_.state("cf").dump(),
              R"({"profiles":[],"policies":[],"trusted_urls":[],"forbidden_urls":[],"web_safe_browsing":0,)"
              R"("web_category":0,"debug":0,"filtering":false,"commands":[],)"
              R"("kernel":{"enable":"0","hdf_enable":"no","redirect_url":""}})");
}

TEST_F(cf, creates_a_policy_once)
{
    EXPECT_EQ(ask(5, 20), 0);
    EXPECT_EQ(ask(5, 20), 107);
    EXPECT_EQ(state("policies").dump(),
              R"([{"id":20,"block":null,"trusted_domains":[],"forbidden_domains":[],"keywords":[]}])");
}

TEST_F(cf, keeps_the_category_block)
{
    bytes block(128, 0xab);
    block.front() = 0x01;
    block.back() = 0xfe;
    EXPECT_EQ(ask(6, 20, block), 108);
    ask(5, 20);
    EXPECT_EQ(ask(6, 20, block), 0);
    std::string digits = "01";
    for (int byte = 0; byte < 126; byte++)
        digits += "ab";
    EXPECT_EQ(policy().at("block"), digits + "fe");
}

TEST_F(cf, binds_a_policy_to_a_profile)
{
    EXPECT_EQ(ask(7, 7, u32(20)), 102);
    ask(1, 7);
    EXPECT_EQ(ask(7, 7, u32(20)), 108);
    ask(5, 20);
    EXPECT_EQ(ask(7, 7, u32(20)), 0);
    EXPECT_EQ(state("profiles").dump(), R"([{"id":7,"devices":[],"policy":20,"browsed_domains":[]}])");
}

TEST_F(cf, frees_a_policy_with_a_profile_that_it_is_bound_to)
{
    for (uint32_t id : {7, 8, 9})
        ask(1, id);
    for (uint32_t id : {20, 21, 22})
        ask(5, id);
    ask(7, 7, u32(20));
    ask(7, 8, u32(20));
    ask(7, 9, u32(21));
    EXPECT_EQ(ask(2, 7), 0);
    EXPECT_EQ(state("profiles").at(0).at("policy"), 0);
    EXPECT_EQ(state("profiles").at(1).at("policy"), 21);
    EXPECT_EQ(state("policies").at(0).at("id"), 21);
    EXPECT_EQ(state("policies").size(), 2U);
    EXPECT_EQ(ask(2, 8), 0);
    EXPECT_EQ(state("policies").size(), 2U);
}

TEST_F(cf, keeps_switches_and_debug)
{
    EXPECT_EQ(ask(18, 1), 0);
    EXPECT_EQ(ask(20, 0xffffffff), 0);
    EXPECT_EQ(ask(22, 5), 0);
    EXPECT_EQ(state("web_safe_browsing"), 1);
    EXPECT_EQ(state("web_category"), -1);
    EXPECT_EQ(state("debug"), 5);
}

TEST_F(cf, refuses_the_codes_between)
{
    for (const uint8_t code : bytes{19, 21, 26, 255})
        EXPECT_EQ(ask(code, 1), 105) << int(code);
}

TEST_F(cf, holds_text_that_is_no_utf_8)
{
    EXPECT_EQ(ask(8, text("\xff.example")), 0);
    EXPECT_EQ(state("trusted_urls").at(0), "\xef\xbf\xbd.example");
    EXPECT_EQ(ask(9, text("\xff.example")), 0);
}

// A list of texts: of the daemon, or of a policy.
struct list_case {
    const char* name;
    uint8_t add;
    uint8_t remove;
    bool of_policy;
    size_t longest;
};

class cf_list : public testing::TestWithParam<list_case> {
protected:
    uint8_t ask(uint8_t code, const std::string& entry) const
    {
        const bytes id = GetParam().of_policy ? u32(20) : bytes();
        bytes body = client::join({id, text(entry)});
        body.resize(
            std::min(body.size(), id.size() + GetParam().longest + 1)); // a text that fills its field has no end
        return ::ask(gateway_, code, body);
    }
    uint8_t add(const std::string& entry) const { return ask(GetParam().add, entry); }
    uint8_t remove(const std::string& entry) const { return ask(GetParam().remove, entry); }

    json entries() const
    {
        const json state = gateway_.state("cf");
        return (GetParam().of_policy ? state.at("policies").at(0) : state).at(GetParam().name);
    }

    sim::gateway gateway_{
        {.start = sim::scenario_from(json{{"cf", {{"state", {{"policies", {{{"id", 20}}}}}}}}}, "home")}};
};

INSTANTIATE_TEST_SUITE_P(each, cf_list,
                         testing::Values(list_case{"trusted_urls", 8, 9, false, 2047},
                                         list_case{"forbidden_urls", 10, 11, false, 2047},
                                         list_case{"trusted_domains", 12, 13, true, 511},
                                         list_case{"forbidden_domains", 14, 15, true, 511},
                                         list_case{"keywords", 16, 17, true, 511}),
                         [](const auto& each_case) { return each_case.param.name; });

TEST_P(cf_list, keeps_entries_in_their_order)
{
    EXPECT_EQ(add("b.example"), 0);
    EXPECT_EQ(add("a.example"), 0);
    EXPECT_EQ(add(""), 0);
    EXPECT_EQ(add("b.example"), 109);
    EXPECT_EQ(entries().dump(), R"(["b.example","a.example",""])");
}

TEST_P(cf_list, takes_an_entry_out_once)
{
    add("b.example");
    add("a.example");
    EXPECT_EQ(remove("b.example"), 0);
    EXPECT_EQ(remove("b.example"), 110);
    EXPECT_EQ(entries().dump(), R"(["a.example"])");
}

TEST_P(cf_list, keeps_the_longest_text)
{
    const std::string longest(GetParam().longest, 'x');
    EXPECT_EQ(add(longest), 0);
    EXPECT_EQ(entries(), json::array({longest}));
}

TEST_P(cf_list, takes_a_text_without_an_end_as_far_as_its_field_reaches)
{
    const std::string endless(GetParam().longest + 1, 'x');
    EXPECT_EQ(add(endless), 0);
    EXPECT_EQ(entries(), json::array({endless}));
}

class cf_policy_list : public cf_list {};

INSTANTIATE_TEST_SUITE_P(each, cf_policy_list,
                         testing::Values(list_case{"trusted_domains", 12, 13, true, 511},
                                         list_case{"forbidden_domains", 14, 15, true, 511},
                                         list_case{"keywords", 16, 17, true, 511}),
                         [](const auto& each_case) { return each_case.param.name; });

TEST_P(cf_policy_list, belongs_to_a_known_policy)
{
    const bytes unknown = client::join({u32(21), text("a.example")});
    EXPECT_EQ(::ask(gateway_, GetParam().add, unknown), 108);
    EXPECT_EQ(::ask(gateway_, GetParam().remove, unknown), 108);
    EXPECT_EQ(entries(), json::array());
}

} // namespace
