// Every fault at the socket of every engine.

#include "tests/sim/client.h"
#include "tests/sim/engine_gateway.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

namespace {

using client::bytes;
using client::with_number;
using sim::json;

constexpr char two_devices[] = R"({"devices":[{"mac":"A"},{"mac":"B"}]})";
constexpr char two_entries[] = R"({"whitelist":[{"value":1,"second_value":2},{"value":3,"second_value":4}]})";

struct engine_case {
    const char* name;
    const char* path;
    size_t request_size;
    size_t reply_size;
    size_t result; // its offset in a reply
    uint32_t more; // the result of an entry
    uint32_t end;  // and that of the end of a list
    uint32_t on;   // the code that switches on, with 1 at this offset
    size_t switch_offset;
    uint32_t list;     // a code whose answer is a list
    const char* state; // with two entries in that list
};

constexpr engine_case engines[] = {
    {"ips", "/tmp/utm_ips", 316, 316, 312, 1, 0, 0, 4, 5, R"({"whitelist":["A","B"]})"},
    {"devid", "/tmp/utm_devid", 392, 392, 384, 0, 0xffffffff, 1, 8, 3, two_devices},
    {"av", "/tmp/utm_av", 96, 96, 92, 0, 0xffffffff, 0, 4, 7, R"({"whitelist":["A","B"]})"},
    {"ir", "/tmp/utm_ir", 132, 16, 0, 0, 1, 0, 4, 16, two_entries},
};

class engine_faults : public testing::TestWithParam<engine_case> {
protected:
    bool is_packet() const { return GetParam().request_size != GetParam().reply_size; }
    int type() const { return is_packet() ? SOCK_SEQPACKET : SOCK_STREAM; }
    int dial() const { return client::dial(GetParam().path, type()); }

    // A process that is killed closes its connections before or after its listening socket.
    void await_refusal() const
    {
        for (int connection = dial(); connection >= 0; connection = dial())
            close(connection);
    }

    bytes switch_request() const
    {
        return with_number(with_number(bytes(GetParam().request_size), 0, GetParam().on), GetParam().switch_offset, 1);
    }
    bytes list_request() const { return with_number(bytes(GetParam().request_size), 0, GetParam().list); }

    bytes reply(uint32_t result) const { return with_number(bytes(GetParam().reply_size), GetParam().result, result); }
    uint32_t result_of(const bytes& reply) const
    {
        uint32_t result = 0;
        for (size_t byte = 4; byte-- > 0;)
            result = result << 8 | reply.at(GetParam().result + byte);
        return result;
    }

    // All bytes that come back, of packets one after the other.
    bytes ask(const bytes& request, int milliseconds = 10'000, size_t records = 1) const
    {
        if (!is_packet())
            return client::exchange(GetParam().path, request, GetParam().reply_size * records, milliseconds);
        bytes all;
        for (const bytes& packet : client::exchange_packets(GetParam().path, request, records, milliseconds))
            all.insert(all.end(), packet.begin(), packet.end());
        return all;
    }
    bytes switch_on(int milliseconds = 10'000) const { return ask(switch_request(), milliseconds); }

    void set(const std::string& effect) const { gateway_.fault(GetParam().name, "any:" + effect); }
    bool is_on() const { return gateway_.state(GetParam().name).at("on").get<bool>(); }
    std::string answer() const { return gateway_.trace().back().at("answer").dump(); }

    sim::gateway gateway_ = gateway_with(GetParam().name, json::parse(GetParam().state));
};

INSTANTIATE_TEST_SUITE_P(each, engine_faults, testing::ValuesIn(engines),
                         [](const auto& each_case) { return each_case.param.name; });

TEST_P(engine_faults, refuse_answers_and_does_nothing)
{
    set("refuse=-7");
    EXPECT_EQ(switch_on(), reply(0xfffffff9));
    EXPECT_FALSE(is_on());
    EXPECT_TRUE(answer().starts_with(R"({"status":-7,"fault":"refuse=-7")"));
}

TEST_P(engine_faults, status_answers_wrongly_what_was_done)
{
    set("status=9");
    EXPECT_EQ(switch_on(), reply(9));
    EXPECT_TRUE(is_on());
}

TEST_P(engine_faults, status_takes_the_end_of_a_list)
{
    set("status=77");
    const bytes records = ask(list_request(), 10'000, 3);
    ASSERT_EQ(records.size(), 3 * GetParam().reply_size);
    EXPECT_EQ(bytes(records.end() - static_cast<std::ptrdiff_t>(GetParam().reply_size), records.end()), reply(77));
}

TEST_P(engine_faults, delay_answers_late)
{
    set("delay=300");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(switch_on(), reply(0));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
}

TEST_P(engine_faults, silence_never_answers)
{
    set("silence");
    const int connection = dial();
    const bytes request = switch_request();
    ASSERT_EQ(write(connection, request.data(), request.size()), static_cast<ssize_t>(request.size()));
    pollfd answer = {.fd = connection, .events = POLLIN};
    EXPECT_EQ(poll(&answer, 1, 300), 0);
    close(connection);
    EXPECT_FALSE(is_on());
}

TEST_P(engine_faults, close_ends_without_an_answer)
{
    set("close");
    EXPECT_EQ(switch_on(), bytes());
    EXPECT_EQ(answer(), R"({"fault":"close"})");
    EXPECT_FALSE(is_on());
}

TEST_P(engine_faults, short_sends_the_start_and_closes)
{
    set("short=10");
    EXPECT_EQ(ask(switch_request(), 10'000, 2), bytes(10));
    EXPECT_TRUE(is_on());
}

TEST_P(engine_faults, short_ends_within_a_list)
{
    const size_t part = GetParam().reply_size + GetParam().reply_size / 2;
    set("short=" + std::to_string(part));
    const bytes records = ask(list_request(), 10'000, 3);
    EXPECT_EQ(records.size(), part);
    EXPECT_EQ(result_of(records), GetParam().more);
}

TEST_P(engine_faults, split_sends_the_whole_in_pieces)
{
    set("split=4");
    const int connection = dial();
    const bytes request = switch_request();
    ASSERT_EQ(write(connection, request.data(), request.size()), static_cast<ssize_t>(request.size()));
    bytes piece(GetParam().reply_size);
    EXPECT_EQ(recv(connection, piece.data(), piece.size(), 0) % static_cast<ssize_t>(piece.size() / 4), 0);
    close(connection);
    EXPECT_EQ(ask(switch_request(), 10'000, is_packet() ? 4 : 1), reply(0));
}

TEST_P(engine_faults, garbage_leaves_the_result_alone)
{
    set("garbage");
    bytes first = switch_on();
    ASSERT_EQ(first.size(), GetParam().reply_size);
    EXPECT_EQ(result_of(first), 0U);
    EXPECT_NE(first, reply(0));
    EXPECT_NE(first, switch_on());
}

TEST_P(engine_faults, garbage_leaves_the_entries_of_a_list_alone)
{
    const bytes healthy = ask(list_request(), 10'000, 3);
    const json traced = gateway_.trace().back().at("answer").at("entries");
    set("garbage");
    const bytes spoilt = ask(list_request(), 10'000, 3);
    EXPECT_EQ(gateway_.trace().back().at("answer").at("entries"), traced);
    ASSERT_EQ(spoilt.size(), healthy.size());
    EXPECT_NE(spoilt, healthy);
    EXPECT_EQ(result_of(spoilt), GetParam().more);
    EXPECT_EQ(result_of(bytes(spoilt.end() - static_cast<std::ptrdiff_t>(GetParam().reply_size), spoilt.end())),
              GetParam().end);
}

TEST_P(engine_faults, endless_sends_list_entries)
{
    set("endless");
    const bytes records = ask(list_request(), 10'000, 1000);
    ASSERT_EQ(records.size(), 1000 * GetParam().reply_size);
    for (size_t record = 0; record < 1000; record++) {
        const auto first = records.begin() + static_cast<std::ptrdiff_t>(record * GetParam().reply_size);
        ASSERT_EQ(bytes(first, first + static_cast<std::ptrdiff_t>(GetParam().reply_size)), reply(GetParam().more));
    }
}

TEST_P(engine_faults, crash_kills_the_daemon_and_leaves_its_socket)
{
    set("crash");
    EXPECT_EQ(switch_on(), bytes());
    EXPECT_TRUE(std::filesystem::exists(GetParam().path));
    await_refusal();
    EXPECT_EQ(errno, ECONNREFUSED);
    EXPECT_EQ(answer(), R"({"fault":"crash"})");
    gateway_.restart(GetParam().name);
    EXPECT_EQ(switch_on(), reply(0));
}

TEST_P(engine_faults, stop_holds_the_daemon_until_it_is_restarted)
{
    set("stop");
    EXPECT_EQ(switch_on(300), bytes());
    EXPECT_EQ(switch_on(300), bytes());
    gateway_.restart(GetParam().name);
    EXPECT_EQ(switch_on(), reply(0));
}

TEST_P(engine_faults, hold_for_their_code_alone)
{
    gateway_.fault(GetParam().name, std::to_string(GetParam().list) + ":close");
    EXPECT_EQ(switch_on(), reply(0));
    EXPECT_EQ(ask(list_request()), bytes());
}

TEST_P(engine_faults, are_gone_with_the_socket_of_a_stopped_daemon)
{
    gateway_.stop(GetParam().name);
    EXPECT_EQ(dial(), -1);
    EXPECT_EQ(errno, ENOENT);
    gateway_.restart(GetParam().name);
    EXPECT_EQ(switch_on(), reply(0));
}

TEST_P(engine_faults, leave_two_hundred_clients_at_once_alone)
{
    std::vector<int> connections(200);
    std::ranges::generate(connections, [this] { return dial(); });
    EXPECT_EQ(std::ranges::count(connections, -1), 0);
    const bytes request = switch_request();
    for (const int connection : connections) {
        bytes answer(GetParam().reply_size);
        EXPECT_EQ(write(connection, request.data(), request.size()), static_cast<ssize_t>(request.size()));
        EXPECT_EQ(recv(connection, answer.data(), answer.size(), MSG_WAITALL), static_cast<ssize_t>(answer.size()));
        EXPECT_EQ(answer, reply(0));
        close(connection);
    }
    EXPECT_EQ(gateway_.trace().size(), 200U);
}

class engine_start : public testing::TestWithParam<engine_case> {
protected:
    static sim::gateway gateway_with_fault(const std::string& fault)
    {
        sim::scenario scenario;
        sim::add_fault(scenario, fault);
        return sim::gateway({.start = scenario});
    }
};

INSTANTIATE_TEST_SUITE_P(each, engine_start, testing::ValuesIn(engines),
                         [](const auto& each_case) { return each_case.param.name; });

TEST_P(engine_start, leaves_the_socket_of_an_absent_engine_out)
{
    const sim::gateway gateway = gateway_with_fault(GetParam().name + std::string(":absent"));
    EXPECT_FALSE(std::filesystem::exists(GetParam().path));
    gateway.restart(GetParam().name);
    EXPECT_TRUE(std::filesystem::exists(GetParam().path));
}

TEST_P(engine_start, has_a_deaf_engine_answer_nothing)
{
    const sim::gateway gateway = gateway_with_fault(GetParam().name + std::string(":deaf"));
    const bytes request(GetParam().request_size);
    const int type = GetParam().request_size == GetParam().reply_size ? SOCK_STREAM : SOCK_SEQPACKET;
    const int connection = client::dial(GetParam().path, type);
    ASSERT_EQ(write(connection, request.data(), request.size()), static_cast<ssize_t>(request.size()));
    pollfd answer = {.fd = connection, .events = POLLIN};
    EXPECT_EQ(poll(&answer, 1, 300), 0);
    close(connection);
    EXPECT_EQ(gateway.trace().size(), 0U);
}

TEST_P(engine_start, opens_the_socket_to_everyone)
{
    const sim::gateway gateway;
    EXPECT_EQ(std::filesystem::status(GetParam().path).permissions(), std::filesystem::perms::all);
}

} // namespace
