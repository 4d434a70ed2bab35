// The application daemon: policies, limits and switches by literal bytes, and what it holds then.

#include "sim/gateway.h"
#include "tests/sandbox/files.h"
#include "tests/sim/client.h"

#include <gtest/gtest.h>

namespace {

using client::bytes;
using client::config_reply;
using client::join;
using client::text;
using client::u32;
using sim::json;

class app : public testing::Test {
protected:
    bytes exchange(uint8_t code, const bytes& body) const
    {
        return client::exchange("/dev/utm_app_config_socket", client::app_request(code, body));
    }
    // The status; nothing else is in the reply.
    uint8_t ask(uint8_t code, const bytes& body) const
    {
        const bytes reply = exchange(code, body);
        EXPECT_EQ(reply, config_reply(reply.empty() ? 0 : reply[0]));
        return reply.at(0);
    }
    uint8_t ask(uint8_t code, uint32_t first, const bytes& rest = {}) const
    {
        return ask(code, join({u32(first), rest}));
    }

    json state(const std::string& member) const { return gateway_.state("app").at(member); }
    json limits() const { return state("profiles").at(0).at("limits"); }

    sim::gateway gateway_;
};

// A body with a profile and one number at a later place.
bytes limit_at(size_t offset, uint32_t profile, uint32_t number)
{
    bytes body(offset - 8, 0xdd);
    const bytes id = u32(profile);
    std::copy(id.begin(), id.end(), body.begin());
    return join({body, u32(number)});
}

TEST_F(app, starts_with_nothing)
{
    EXPECT_EQ(gateway_.state("app").dump(),
              R"({"profiles":[],"policies":[],"active":0,"debug":0,"status":{"first":0,"second":0,"third":0},)"
              R"("signature":null,"export_interval":0})");
}

TEST_F(app, creates_a_policy_once)
{
    EXPECT_EQ(ask(42, 20), 0);
    EXPECT_EQ(ask(42, 20), 107);
    EXPECT_EQ(state("policies").dump(), R"([{"id":20,"entries":[]}])");
}

TEST_F(app, adds_entries_in_their_order)
{
    const bytes ten = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    bytes entries;
    for (uint8_t number : ten)
        entries = join({entries, bytes(8, number)});
    EXPECT_EQ(ask(43, 20, join({u32(1), entries})), 108);
    ask(42, 20);
    EXPECT_EQ(ask(43, 20, join({u32(1), {0xab, 1, 2, 3, 4, 5, 6, 0xcd}})), 0);
    EXPECT_EQ(ask(43, 20, join({u32(10), entries})), 0);
    EXPECT_EQ(state("policies").at(0).at("entries").dump(),
              R"(["ab010203040506cd","0000000000000000","0101010101010101","0202020202020202","0303030303030303",)"
              R"("0404040404040404","0505050505050505","0606060606060606","0707070707070707","0808080808080808",)"
              R"("0909090909090909"])");
}

TEST_F(app, refuses_counts_that_a_record_cannot_hold)
{
    ask(42, 20);
    for (uint32_t count : {0U, 11U, 0xffffffffU})
        EXPECT_EQ(ask(43, 20, u32(count)), 106) << count;
    EXPECT_EQ(state("policies").at(0).at("entries"), json::array());
}

TEST_F(app, empties_a_policy)
{
    EXPECT_EQ(ask(44, 20), 108);
    ask(42, 20);
    ask(43, 20, join({u32(1), bytes(8, 1)}));
    EXPECT_EQ(ask(44, 20), 0);
    EXPECT_EQ(state("policies").dump(), R"([{"id":20,"entries":[]}])");
}

TEST_F(app, binds_a_policy_to_a_profile)
{
    EXPECT_EQ(ask(45, 7, u32(20)), 102);
    ask(1, 7);
    EXPECT_EQ(ask(45, 7, u32(20)), 108);
    ask(42, 20);
    EXPECT_EQ(ask(45, 7, u32(20)), 0);
    EXPECT_EQ(state("profiles").at(0).at("policy"), 20);
}

TEST_F(app, frees_a_policy_with_a_profile_that_it_is_bound_to)
{
    for (uint32_t id : {7, 8})
        ask(1, id);
    for (uint32_t id : {20, 21})
        ask(42, id);
    ask(45, 7, u32(20));
    EXPECT_EQ(ask(2, 7), 0);
    EXPECT_EQ(ask(2, 8), 0);
    EXPECT_EQ(state("policies").dump(), R"([{"id":21,"entries":[]}])");
}

// A limit that is set at an offset of the request and read at one of the reply.
struct limit_case {
    const char* name;
    uint8_t set;
    size_t set_at;
    uint8_t get;
    size_t get_at;
};

class app_limit : public app, public testing::WithParamInterface<limit_case> {};

INSTANTIATE_TEST_SUITE_P(each, app_limit,
                         testing::Values(limit_case{"daily_limit_enable", 26, 16, 27, 224},
                                         limit_case{"daily_limit", 28, 20, 29, 228},
                                         limit_case{"extension", 32, 24, 33, 232}),
                         [](const auto& each_case) { return each_case.param.name; });

TEST_P(app_limit, is_read_back)
{
    ask(1, 7);
    for (uint32_t number : {90U, 0xffffffffU, 0U}) {
        EXPECT_EQ(ask(GetParam().set, limit_at(GetParam().set_at, 7, number)), 0);
        EXPECT_EQ(exchange(GetParam().get, u32(7)), config_reply(0, {{GetParam().get_at, u32(number)}}));
        EXPECT_EQ(limits().at(GetParam().name), static_cast<int32_t>(number));
    }
}

TEST_P(app_limit, belongs_to_a_known_profile)
{
    EXPECT_EQ(ask(GetParam().set, limit_at(GetParam().set_at, 7, 1)), 102);
    EXPECT_EQ(ask(GetParam().get, 7), 102);
}

TEST_F(app, takes_an_extension_back)
{
    EXPECT_EQ(ask(34, 7), 102);
    ask(1, 7);
    ask(32, limit_at(24, 7, 30));
    EXPECT_EQ(ask(34, 7), 0);
    EXPECT_EQ(limits().at("extension"), 0);
}

TEST_F(app, keeps_one_limit_for_a_weekday)
{
    EXPECT_EQ(ask(30, 7, join({u32(1), u32(0), u32(60)})), 102);
    ask(1, 7);
    EXPECT_EQ(ask(30, 7, join({u32(6), u32(0), u32(120)})), 0);
    EXPECT_EQ(ask(30, 7, join({u32(0xffffffff), u32(0), u32(60)})), 0);
    EXPECT_EQ(ask(30, 7, join({u32(6), u32(0), u32(90)})), 0);
    EXPECT_EQ(limits().at("weekday_limits").dump(), R"([{"weekday":6,"limit":90},{"weekday":-1,"limit":60}])");
}

TEST_F(app, keeps_its_switches)
{
    EXPECT_EQ(ask(39, 5), 0);
    EXPECT_EQ(ask(41, 0xffffffff), 0);
    EXPECT_EQ(ask(49, 3600), 0);
    EXPECT_EQ(state("active"), 5);
    EXPECT_EQ(state("debug"), -1);
    EXPECT_EQ(state("export_interval"), 3600);
    EXPECT_EQ(exchange(48, {}), config_reply(0, {{280, u32(3600)}}));
}

TEST_F(app, refuses_the_codes_between)
{
    for (const uint8_t code : bytes{0, 5, 25, 40, 52, 255})
        EXPECT_EQ(ask(code, 7), 105) << int(code);
}

TEST_F(app, takes_a_signature_file_that_is_there)
{
    EXPECT_EQ(ask(46, text("/tmp/signature")), 111);
    EXPECT_EQ(state("signature"), nullptr);
    write_file("/tmp/signature", "rules");
    EXPECT_EQ(ask(46, text("/tmp/signature")), 0);
    EXPECT_EQ(state("signature"), "/tmp/signature");
}

TEST_F(app, takes_a_signature_path_without_an_end_as_far_as_its_field_reaches)
{
    const std::string path = "/tmp/" + std::string(123, 'x');
    write_file(path, "rules");
    EXPECT_EQ(ask(46, bytes(path.begin(), path.end())), 0);
    EXPECT_EQ(state("signature"), path);
}

TEST_F(app, appends_its_dump)
{
    ask(1, 7);
    write_file("/tmp/dump", "before\n");
    EXPECT_EQ(ask(38, text("/tmp/dump")), 0);
    EXPECT_EQ(content_of("/tmp/dump"), "before\n====Dump application daemon\n" + gateway_.state("app").dump(2) + "\n");
    EXPECT_EQ(ask(38, text("/tmp/missing/dump")), 111);
}

} // namespace
