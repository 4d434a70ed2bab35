#include "sim/gateway.h"
#include "tests/sim/client.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using client::bytes;
using client::config_reply;
using sim::json;

const bytes tablet = {0x02, 0x42, 0xac, 0x11, 0x00, 0x05};

struct daemon_case {
    const char* name;
    const char* path;
    bytes (*request)(uint8_t code, uint32_t id, const bytes& mac);
};

class config_daemon : public testing::TestWithParam<daemon_case> {
protected:
    bytes ask(uint8_t code, uint32_t id, const bytes& mac = {}) const
    {
        return client::exchange(GetParam().path, GetParam().request(code, id, mac));
    }

    // Each with its devices; the daemons keep more of them, each its own.
    std::string profiles() const
    {
        json list = json::array();
        const json state = gateway_.state(GetParam().name);
        for (const json& profile : state.at("profiles"))
            list.push_back({{"id", profile.at("id")}, {"devices", profile.at("devices")}});
        return list.dump();
    }

    sim::gateway gateway_;
};

INSTANTIATE_TEST_SUITE_P(each, config_daemon,
                         testing::Values(daemon_case{"cf", "/dev/utm_cf_config_socket", client::cf_request},
                                         daemon_case{"app", "/dev/utm_app_config_socket", client::app_request},
                                         daemon_case{"user_profile", "/dev/utm_user_profile_socket",
                                                     client::user_profile_request}),
                         [](const auto& each_case) { return each_case.param.name; });

TEST_P(config_daemon, creates_a_profile_once)
{
    EXPECT_EQ(ask(1, 7), config_reply(0));
    EXPECT_EQ(ask(1, 7), config_reply(101));
    EXPECT_EQ(profiles(), R"([{"id":7,"devices":[]}])");
}

TEST_P(config_daemon, deletes_a_profile_once)
{
    ask(1, 7);
    EXPECT_EQ(ask(2, 7), config_reply(0));
    EXPECT_EQ(ask(2, 7), config_reply(102));
    EXPECT_EQ(profiles(), "[]");
}

TEST_P(config_daemon, adds_a_device_once)
{
    EXPECT_EQ(ask(3, 7, tablet), config_reply(102));
    ask(1, 7);
    EXPECT_EQ(ask(3, 7, tablet), config_reply(0));
    EXPECT_EQ(ask(3, 7, tablet), config_reply(103));
    EXPECT_EQ(profiles(), R"([{"id":7,"devices":["02:42:ac:11:00:05"]}])");
}

TEST_P(config_daemon, deletes_a_device_once)
{
    EXPECT_EQ(ask(4, 7, tablet), config_reply(102));
    ask(1, 7);
    ask(3, 7, tablet);
    EXPECT_EQ(ask(4, 7, tablet), config_reply(0));
    EXPECT_EQ(ask(4, 7, tablet), config_reply(104));
    EXPECT_EQ(profiles(), R"([{"id":7,"devices":[]}])");
}

TEST_P(config_daemon, keeps_identifiers_with_their_sign)
{
    ask(1, 0xffffffff);
    EXPECT_EQ(gateway_.state(GetParam().name)["profiles"][0]["id"], -1);
}

TEST_P(config_daemon, refuses_a_code_that_it_does_not_know)
{
    EXPECT_EQ(ask(200, 7), config_reply(105));
    EXPECT_EQ(profiles(), "[]");
}

TEST_P(config_daemon, writes_a_line_for_a_request)
{
    ask(3, 7, tablet);
    std::vector<json> trace = gateway_.trace();
    ASSERT_EQ(trace.size(), 1U);
    EXPECT_EQ(trace[0].at("time").get<std::string>().size(), std::string("2026-01-01T00:00:00.000000Z").size());
    trace[0].erase("time");
    const size_t size = GetParam().request(3, 7, tablet).size();
    EXPECT_EQ(trace[0].dump(), R"({"sequence":1,"daemon":")" + std::string(GetParam().name) +
                                   R"(","code":3,"name":"add device","size":)" + std::to_string(size) +
                                   R"(,"fields":{"id":7,"mac":"02:42:ac:11:00:05"},"answer":{"status":102}})");
}

TEST_P(config_daemon, traces_an_incomplete_request_and_does_nothing)
{
    bytes request = GetParam().request(1, 7, {});
    request.pop_back();
    const int connection = client::dial(GetParam().path);
    ASSERT_EQ(write(connection, request.data(), request.size()), static_cast<ssize_t>(request.size()));
    shutdown(connection, SHUT_WR);
    uint8_t byte = 0;
    EXPECT_EQ(read(connection, &byte, 1), 0);
    close(connection);
    EXPECT_EQ(gateway_.trace().at(0).at("answer").dump(), R"({"incomplete":true})");
    EXPECT_EQ(profiles(), "[]");
}

TEST_P(config_daemon, starts_anew_without_state_and_faults)
{
    ask(1, 7);
    gateway_.fault(GetParam().name, "any:refuse=9");
    gateway_.restart(GetParam().name);
    EXPECT_EQ(profiles(), "[]");
    EXPECT_EQ(ask(1, 7), config_reply(0));
}

TEST_P(config_daemon, is_gone_when_stopped)
{
    gateway_.stop(GetParam().name);
    EXPECT_EQ(client::dial(GetParam().path), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_THROW(gateway_.state(GetParam().name), std::runtime_error);
    gateway_.restart(GetParam().name);
    EXPECT_EQ(ask(1, 7), config_reply(0));
}

TEST_P(config_daemon, serves_two_hundred_clients_at_once)
{
    std::vector<int> connections;
    for (int client = 0; client < 200; client++)
        connections.push_back(client::dial(GetParam().path));
    EXPECT_EQ(std::ranges::count(connections, -1), 0);
    uint32_t id = 1;
    for (auto last = connections.rbegin(); last != connections.rend(); ++last) {
        const bytes request = GetParam().request(1, id++, {});
        bytes answer(832);
        EXPECT_EQ(write(*last, request.data(), request.size()), static_cast<ssize_t>(request.size()));
        EXPECT_EQ(recv(*last, answer.data(), answer.size(), MSG_WAITALL), 832);
        EXPECT_EQ(answer, config_reply(0));
        close(*last);
    }
    EXPECT_EQ(gateway_.state(GetParam().name)["profiles"].size(), 200U);
    EXPECT_EQ(gateway_.trace().size(), 200U);
}

TEST(gateway, holds_whole_records_on_demand)
{
    const sim::gateway gateway({.trace_bytes = true});
    client::exchange("/dev/utm_user_profile_socket", client::user_profile_request(3, 7, tablet));
    EXPECT_EQ(gateway.trace().at(0).at("bytes"), "03eeeeee070000000242ac110005eeee");
}

TEST(gateway, leaves_nothing_behind)
{
    {
        const sim::gateway gateway;
        EXPECT_TRUE(std::filesystem::exists("/dev/utm_cf_config_socket"));
    }
    EXPECT_FALSE(std::filesystem::exists("/dev/utm_cf_config_socket"));
    EXPECT_FALSE(std::filesystem::exists("/dev/utm_app_config_socket"));
    EXPECT_FALSE(std::filesystem::exists("/dev/utm_user_profile_socket"));
    EXPECT_FALSE(std::filesystem::exists("/run/utm-gateway"));
}

TEST(gateway, refuses_to_run_twice_at_one_place)
{
    const sim::gateway first;
    EXPECT_THROW(sim::gateway(), std::runtime_error);
    EXPECT_EQ(client::exchange("/dev/utm_app_config_socket", client::app_request(1, 7)), config_reply(0));
}

TEST(gateway, holds_no_descriptor_of_its_maker)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const sim::gateway gateway;
    gateway.restart("cf");
    close(ends[1]);
    pollfd closed = {.fd = ends[0], .events = POLLIN};
    EXPECT_EQ(poll(&closed, 1, 10'000), 1);
    EXPECT_EQ(closed.revents, POLLHUP);
    close(ends[0]);
}

} // namespace
