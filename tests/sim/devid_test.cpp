#include "tests/sim/client.h"
#include "tests/sim/engine_gateway.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using client::bytes;
using client::with_number;
using client::with_text;
using sim::json;

constexpr char path[] = "/tmp/utm_devid";

bytes request(uint32_t code)
{
    return client::request(392, code);
}

// The filters are empty, as the library sends them.
bytes list_request(size_t offset, const std::string& filter)
{
    return with_text(with_number(bytes(392), 0, 3), offset, filter);
}

bytes ignore_request(const std::string& name, uint32_t operation)
{
    return with_number(with_text(request(10), 201, name), 20, operation);
}

bytes reply(uint32_t result)
{
    return with_number(bytes(392), 384, result);
}

const bytes end_of_list = reply(0xffffffff);
const bytes refusal = reply(0xffffffff);

bytes ask(const bytes& request, size_t records = 1)
{
    return client::exchange(path, request, 392 * records);
}

bytes joined(const std::vector<bytes>& records)
{
    bytes all;
    for (const bytes& record : records)
        all.insert(all.end(), record.begin(), record.end());
    return all;
}

class devid : public testing::Test {
protected:
    json state() const { return gateway_.state("devid"); }
    json trace() const
    {
        const json line = gateway_.trace().back();
        return {line.at("name"), line.at("fields"), line.at("answer")};
    }

    sim::gateway gateway_;
};

TEST_F(devid, starts_with_nothing)
{
    EXPECT_EQ(state().dump(), R"({"on":false,"debug":false,"cache_size":10,"ignored":[],"timestamp":0,"devices":[]})");
}

TEST_F(devid, is_switched)
{
    EXPECT_EQ(ask(with_number(request(1), 8, 1)), reply(0));
    EXPECT_EQ(state()["on"], true);
    EXPECT_EQ(trace().dump(), R"(["activate",{"on":1},{"status":0}])");
    EXPECT_EQ(ask(with_number(request(1), 8, 2)), refusal);
    EXPECT_EQ(ask(with_number(request(1), 8, 0)), reply(0));
    EXPECT_EQ(state()["on"], false);
}

TEST_F(devid, switches_debugging)
{
    EXPECT_EQ(ask(with_number(request(7), 4, 1)), reply(0));
    EXPECT_EQ(state()["debug"], true);
    EXPECT_EQ(trace().dump(), R"(["debug",{"debug":1},{"status":0}])");
    EXPECT_EQ(ask(with_number(request(7), 4, 2)), refusal);
}

TEST_F(devid, shows_its_status)
{
    ask(with_number(request(1), 8, 1));
    ask(with_number(request(4), 16, 5));
    EXPECT_EQ(ask(request(2)), with_number(with_number(reply(0), 8, 1), 12, 5));
    EXPECT_EQ(trace().dump(), R"(["get status",{},{"status":0,"fields":{"debug":0,"on":1,"cache_size":5}}])");
    ask(with_number(request(7), 4, 1));
    EXPECT_EQ(ask(request(2)), with_number(with_number(with_number(reply(0), 4, 1), 8, 1), 12, 5));
}

TEST_F(devid, limits_its_cache)
{
    EXPECT_EQ(ask(with_number(request(4), 16, 1)), reply(0));
    EXPECT_EQ(state()["cache_size"], 1);
    EXPECT_EQ(trace().dump(), R"(["set cache size",{"cache_size":1},{"status":0}])");
    for (const uint32_t size : {0U, 11U})
        EXPECT_EQ(ask(with_number(request(4), 16, size)), refusal);
    EXPECT_EQ(state()["cache_size"], 1);
}

TEST_F(devid, ignores_an_interface_once)
{
    EXPECT_EQ(ask(ignore_request("eth1", 0)), reply(0));
    EXPECT_EQ(trace().dump(), R"(["set ignore iface",{"interface":"eth1","operation":0},{"status":0}])");
    EXPECT_EQ(ask(ignore_request("eth1", 0)), refusal);
    EXPECT_EQ(ask(ignore_request("eth1", 2)), refusal);
    EXPECT_EQ(ask(ignore_request("", 0)), refusal);
    EXPECT_EQ(state()["ignored"].dump(), R"(["eth1"])");
    EXPECT_EQ(ask(ignore_request("eth1", 1)), reply(0));
    EXPECT_EQ(ask(ignore_request("eth1", 1)), refusal);
    EXPECT_EQ(state()["ignored"].dump(), "[]");
    EXPECT_EQ(state()["timestamp"], 2);
}

TEST_F(devid, ends_an_empty_list)
{
    EXPECT_EQ(ask(list_request(0x18, ""), 2), end_of_list);
    EXPECT_EQ(trace().dump(), R"(["get device list",{"ip":"","interface":"","mac":""},{"status":-1,"entries":[]}])");
}

TEST_F(devid, refuses_other_codes)
{
    EXPECT_EQ(ask(request(0)), reply(105));
    EXPECT_EQ(trace().dump(), R"(["code 0",{},{"status":105}])");
}

constexpr char home[] =
    R"({"on":true,"debug":true,"cache_size":3,"ignored":["eth2"],"timestamp":5000000000,"devices":[)"
    R"({"mac":"02:42:ac:11:00:05","name":"tablet","ip":"192.168.1.5","interface":"eth0","type":"Tablet","kind":7},)"
    R"({"mac":"02:42:ac:11:00:06","name":"tv","ip":"192.168.1.6","interface":"eth1","type":"TV","kind":9},)"
    R"({"mac":"02:42:ac:11:00:07","name":"","ip":"192.168.2.7","interface":"eth2","type":"","kind":0}]})";

bytes device(const std::vector<std::string>& texts, uint32_t kind)
{
    bytes record = with_number(reply(0), 356, kind);
    const size_t offsets[] = {24, 121, 185, 201, 217};
    for (size_t text = 0; text < texts.size(); text++)
        record = with_text(record, offsets[text], texts[text]);
    return record;
}

const bytes tablet = device({"02:42:ac:11:00:05", "tablet", "192.168.1.5", "eth0", "Tablet"}, 7);
const bytes tv = device({"02:42:ac:11:00:06", "tv", "192.168.1.6", "eth1", "TV"}, 9);

class devid_home : public testing::Test {
protected:
    sim::gateway gateway_ = gateway_with("devid", json::parse(home));
};

TEST_F(devid_home, starts_with_its_state)
{
    EXPECT_EQ(gateway_.state("devid").dump(), home);
}

TEST_F(devid_home, streams_all_but_those_of_an_ignored_interface)
{
    EXPECT_EQ(ask(list_request(24, ""), 4), joined({tablet, tv, end_of_list}));
    EXPECT_EQ(
        gateway_.trace().back().at("answer").dump(),
        R"({"status":-1,"records":3,"entries":[)"
        R"({"mac":"02:42:ac:11:00:05","name":"tablet","ip":"192.168.1.5","interface":"eth0","type":"Tablet","kind":7},)"
        R"({"mac":"02:42:ac:11:00:06","name":"tv","ip":"192.168.1.6","interface":"eth1","type":"TV","kind":9}]})");
}

TEST_F(devid_home, filters_by_address_interface_and_mac)
{
    EXPECT_EQ(ask(list_request(185, "192.168.1.6"), 4), joined({tv, end_of_list}));
    EXPECT_EQ(gateway_.trace().back().at("fields").dump(), R"({"ip":"192.168.1.6","interface":"","mac":""})");
    EXPECT_EQ(ask(list_request(201, "eth0"), 4), joined({tablet, end_of_list}));
    EXPECT_EQ(ask(list_request(24, "02:42:ac:11:00:06"), 4), joined({tv, end_of_list}));
    EXPECT_EQ(ask(list_request(185, "192.168.1.60"), 4), end_of_list);
    EXPECT_EQ(ask(list_request(201, "eth2"), 4), end_of_list);
}

TEST_F(devid_home, tells_its_timestamp)
{
    const bytes answer = with_number(with_number(reply(0), 376, 5'000'000'000 & 0xffffffff), 380, 1);
    EXPECT_EQ(ask(request(6)), answer);
    EXPECT_EQ(gateway_.trace().back().at("answer").dump(), R"({"status":0,"fields":{"timestamp":5000000000}})");
}

TEST_F(devid_home, flushes_its_devices_alone)
{
    EXPECT_EQ(ask(request(5)), reply(0));
    EXPECT_EQ(gateway_.state("devid").dump(), R"({"on":true,"debug":true,"cache_size":3,"ignored":["eth2"],)"
                                              R"("timestamp":5000000001,"devices":[]})");
}

TEST_F(devid_home, resets_everything)
{
    EXPECT_EQ(ask(request(9)), reply(0));
    EXPECT_EQ(gateway_.state("devid").dump(), R"({"on":false,"debug":false,"cache_size":10,"ignored":[],)"
                                              R"("timestamp":5000000001,"devices":[]})");
}

TEST_F(devid_home, shows_all_devices_in_a_file)
{
    EXPECT_EQ(ask(request(8)), reply(0));
    std::ifstream file("/tmp/utm_devid_list");
    std::stringstream text;
    text << file.rdbuf();
    const std::string devices = json::parse(home)["devices"].dump();
    EXPECT_EQ(text.str().substr(0, text.str().find('\n')), devices.substr(1, devices.find('}')));
    EXPECT_EQ(std::ranges::count(text.str(), '\n'), 3);
}

class devid_stream : public testing::TestWithParam<size_t> {};

INSTANTIATE_TEST_SUITE_P(of, devid_stream, testing::Values(0, 1, 1000, LONG_STREAM));

TEST_P(devid_stream, has_any_length)
{
    json devices = json::array();
    for (size_t each = 0; each < GetParam(); each++)
        devices.push_back({{"mac", std::to_string(each)}, {"kind", each}});
    const sim::gateway gateway = gateway_with("devid", {{"devices", devices}});
    const bytes answer = ask(list_request(24, ""), GetParam() + 2);
    ASSERT_EQ(answer.size(), 392 * (GetParam() + 1));
    for (size_t each = 0; each < GetParam(); each++) {
        const auto first = answer.begin() + static_cast<std::ptrdiff_t>(392 * each);
        ASSERT_EQ(bytes(first, first + 392), device({std::to_string(each)}, static_cast<uint32_t>(each)));
    }
    EXPECT_EQ(bytes(answer.end() - 392, answer.end()), end_of_list);
}

} // namespace
