// What the flushes of the content-filter daemon empty, and what they leave.

#include "sim/gateway.h"
#include "tests/sim/client.h"

#include <gtest/gtest.h>

namespace {

using client::u32;
using sim::json;

const std::string block(256, '1');

json full_policy(int id)
{
    return {{"id", id},
            {"block", block},
            {"trusted_domains", {"school.example"}},
            {"forbidden_domains", {"games.example"}},
            {"keywords", {"casino"}}};
}

json full_profile()
{
    return {{"id", 7},
            {"devices", {"02:42:ac:11:00:05"}},
            {"policy", 20},
            {"browsed_domains", {{{"domain", "games.example"}, {"value", 3}}}}};
}

json full_state()
{
    return {{"profiles", {full_profile()}},
            {"policies", {full_policy(20), full_policy(21)}},
            {"trusted_urls", {"http://school.example/"}},
            {"forbidden_urls", {"http://games.example/"}},
            {"web_safe_browsing", 1},
            {"web_category", 1},
            {"debug", 2},
            {"filtering", true},
            {"commands", {29}},
            {"kernel", {{"enable", "1"}, {"hdf_enable", "yes"}, {"redirect_url", "http://192.168.1.1/"}}}};
}

class cf_flush : public testing::Test {
protected:
    uint8_t ask(uint8_t code, const client::bytes& body) const
    {
        return client::exchange("/dev/utm_cf_config_socket", client::cf_request(code, body)).at(0);
    }
    uint8_t flush(uint32_t type) const { return ask(23, u32(type)); }
    uint8_t flush_policy(uint32_t policy, uint32_t type) const
    {
        return ask(24, client::join({u32(policy), u32(type)}));
    }
    json state() const { return gateway_.state("cf"); }

    json expected_ = full_state();
    sim::gateway gateway_{{.start = sim::scenario_from(json{{"cf", {{"state", full_state()}}}}, "home")}};
};

TEST_F(cf_flush, starts_full)
{
    EXPECT_EQ(state(), expected_);
}

TEST_F(cf_flush, type_0_leaves_profiles_and_switches)
{
    EXPECT_EQ(flush(0), 0);
    for (const char* emptied : {"policies", "trusted_urls", "forbidden_urls"})
        expected_[emptied] = json::array();
    expected_["profiles"][0]["policy"] = 0;
    expected_["profiles"][0]["browsed_domains"] = json::array();
    EXPECT_EQ(state(), expected_);
}

TEST_F(cf_flush, type_1_empties_the_trusted_urls)
{
    EXPECT_EQ(flush(1), 0);
    expected_["trusted_urls"] = json::array();
    EXPECT_EQ(state(), expected_);
}

TEST_F(cf_flush, type_2_empties_the_forbidden_urls)
{
    EXPECT_EQ(flush(2), 0);
    expected_["forbidden_urls"] = json::array();
    EXPECT_EQ(state(), expected_);
}

TEST_F(cf_flush, type_3_forgets_the_browsed_domains)
{
    EXPECT_EQ(flush(3), 0);
    expected_["profiles"][0]["browsed_domains"] = json::array();
    EXPECT_EQ(state(), expected_);
}

TEST_F(cf_flush, refuses_other_types)
{
    EXPECT_EQ(flush(4), 106);
    EXPECT_EQ(flush(0xffffffff), 106);
    EXPECT_EQ(flush_policy(20, 5), 106);
    EXPECT_EQ(flush_policy(0, 5), 106);
    EXPECT_EQ(flush_policy(22, 0), 108);
    EXPECT_EQ(state(), expected_);
}

TEST_F(cf_flush, type_0_of_a_policy_leaves_an_empty_policy)
{
    EXPECT_EQ(flush_policy(20, 0), 0);
    expected_["policies"][0] = {{"id", 20},
                                {"block", nullptr},
                                {"trusted_domains", json::array()},
                                {"forbidden_domains", json::array()},
                                {"keywords", json::array()}};
    EXPECT_EQ(state(), expected_);
}

TEST_F(cf_flush, empties_the_lists_of_a_policy_by_type)
{
    uint32_t type = 0;
    for (const char* list : {"trusted_domains", "forbidden_domains", "keywords"}) {
        EXPECT_EQ(flush_policy(20, ++type), 0);
        expected_["policies"][0][list] = json::array();
        EXPECT_EQ(state(), expected_);
    }
    EXPECT_EQ(flush_policy(20, 4), 0);
    expected_["policies"][0]["block"] = nullptr;
    EXPECT_EQ(state(), expected_);
}

TEST_F(cf_flush, policy_0_is_every_policy)
{
    EXPECT_EQ(flush_policy(0, 3), 0);
    for (json& policy : expected_["policies"])
        policy["keywords"] = json::array();
    EXPECT_EQ(state(), expected_);
}

TEST(cf_without_policies, accepts_a_flush_of_every_policy)
{
    const sim::gateway gateway;
    const client::bytes request = client::cf_request(24, client::join({u32(0), u32(0)}));
    EXPECT_EQ(client::exchange("/dev/utm_cf_config_socket", request), client::config_reply(0));
}

} // namespace
