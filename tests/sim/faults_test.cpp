#include "sim/gateway.h"
#include "tests/sim/client.h"

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using client::bytes;
using sim::json;

constexpr char cf_path[] = "/dev/utm_cf_config_socket";
constexpr char no_profiles[] = "[]";
constexpr char one_profile[] = R"([{"id":7,"devices":[],"policy":0,"browsed_domains":[]}])";

bytes create(int milliseconds = 10'000, size_t limit = 832)
{
    return client::exchange(cf_path, client::cf_request(1, 7), limit, milliseconds);
}

class faults : public testing::Test {
protected:
    void set(const std::string& fault) const { gateway_.fault("cf", fault); }
    std::string profiles() const { return gateway_.state("cf").at("profiles").dump(); }
    std::string answer() const { return gateway_.trace().back().at("answer").dump(); }

    sim::gateway gateway_;
};

sim::scenario with(const std::string& fault)
{
    sim::scenario scenario;
    sim::add_fault(scenario, fault);
    return scenario;
}

TEST_F(faults, refuse_answers_and_does_nothing)
{
    set("1:refuse=5");
    EXPECT_EQ(create().at(0), 5);
    EXPECT_EQ(profiles(), no_profiles);
    EXPECT_EQ(answer(), R"({"status":5,"fault":"refuse=5"})");
}

TEST_F(faults, status_answers_wrongly_what_was_done)
{
    set("1:status=9");
    EXPECT_EQ(create().at(0), 9);
    EXPECT_EQ(profiles(), one_profile);
}

TEST_F(faults, delay_answers_late)
{
    set("1:delay=300");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(create(), bytes(832));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
}

TEST_F(faults, silence_never_answers)
{
    set("1:silence");
    const int connection = client::dial(cf_path);
    const bytes request = client::cf_request(1, 7);
    ASSERT_EQ(write(connection, request.data(), request.size()), 2056);
    pollfd answer = {.fd = connection, .events = POLLIN};
    EXPECT_EQ(poll(&answer, 1, 300), 0);
    close(connection);
    EXPECT_EQ(profiles(), no_profiles);
}

TEST_F(faults, close_ends_without_an_answer)
{
    set("1:close");
    EXPECT_EQ(create().size(), 0U);
    EXPECT_EQ(answer(), R"({"fault":"close"})");
    EXPECT_EQ(profiles(), no_profiles);
}

TEST_F(faults, short_sends_the_start_and_closes)
{
    set("1:short=100");
    EXPECT_EQ(create(), bytes(100));
    EXPECT_EQ(profiles(), one_profile);
}

TEST_F(faults, split_sends_the_whole_in_pieces)
{
    set("1:split=4");
    const int connection = client::dial(cf_path);
    const bytes request = client::cf_request(1, 7);
    ASSERT_EQ(write(connection, request.data(), request.size()), 2056);
    uint8_t piece[832];
    EXPECT_EQ(recv(connection, piece, sizeof piece, 0) % 208, 0);
    close(connection);
    EXPECT_EQ(client::exchange(cf_path, client::cf_request(2, 7)), bytes(832));
}

TEST_F(faults, garbage_leaves_the_named_bytes_alone)
{
    set("1:garbage");
    const bytes reply = create();
    ASSERT_EQ(reply.size(), 832U);
    EXPECT_NE(bytes(reply.begin() + 1, reply.begin() + 16), bytes(15));
    EXPECT_NE(bytes(reply.begin() + 804, reply.end()), bytes(28));
    EXPECT_EQ(reply[0], 0);
    EXPECT_EQ(bytes(reply.begin() + 16, reply.begin() + 28), bytes(12));
    EXPECT_EQ(bytes(reply.begin() + 288, reply.begin() + 804), bytes(516));
}

TEST_F(faults, endless_sends_list_entries)
{
    set("1:endless");
    const bytes replies = create(10'000, 832 * 1000);
    ASSERT_EQ(replies.size(), 832U * 1000);
    for (size_t entry = 0; entry < replies.size(); entry += 832)
        ASSERT_EQ(replies[entry], 2);
}

TEST_F(faults, crash_kills_the_daemon_and_leaves_its_socket)
{
    set("1:crash");
    EXPECT_EQ(create().size(), 0U);
    EXPECT_TRUE(std::filesystem::exists(cf_path));
    EXPECT_THROW(gateway_.state("cf"), std::runtime_error);
    EXPECT_EQ(answer(), R"({"fault":"crash"})");
    gateway_.restart("cf");
    EXPECT_EQ(create(), bytes(832));
}

TEST_F(faults, stop_holds_the_daemon_until_it_is_restarted)
{
    set("1:stop");
    EXPECT_EQ(create(300).size(), 0U);
    EXPECT_EQ(create(300).size(), 0U);
    gateway_.restart("cf");
    EXPECT_EQ(create(), bytes(832));
}

TEST_F(faults, hold_for_their_code_and_daemon_alone)
{
    set("2:refuse=5");
    EXPECT_EQ(create().at(0), 0);
    EXPECT_EQ(client::exchange(cf_path, client::cf_request(2, 7)).at(0), 5);
    EXPECT_EQ(client::exchange("/dev/utm_app_config_socket", client::app_request(2, 7)).at(0), 102);
}

TEST_F(faults, count_requests)
{
    set("any:refuse=5:2");
    EXPECT_EQ(create().at(0), 5);
    EXPECT_EQ(create().at(0), 5);
    EXPECT_EQ(create().at(0), 0);
}

TEST_F(faults, are_cleared)
{
    set("any:refuse=5");
    gateway_.clear_faults("cf");
    EXPECT_EQ(create().at(0), 0);
}

TEST_F(faults, of_the_start_cannot_come_later)
{
    EXPECT_THROW(set("absent"), std::runtime_error);
    EXPECT_THROW(set("deaf"), std::runtime_error);
}

TEST(faults_from_the_start, absent_has_no_socket_until_restarted)
{
    const sim::gateway gateway({.start = with("cf:absent")});
    EXPECT_EQ(client::dial(cf_path), -1);
    EXPECT_EQ(errno, ENOENT);
    gateway.restart("cf");
    EXPECT_EQ(create(), bytes(832));
}

TEST(faults_from_the_start, deaf_takes_connections_and_no_requests)
{
    const sim::gateway gateway({.start = with("cf:deaf")});
    EXPECT_EQ(create(300).size(), 0U);
    EXPECT_EQ(gateway.trace().size(), 0U);
}

TEST(fault_text, is_read_and_written)
{
    for (const char* text :
         {"1:refuse=5:2", "any:silence", "25:short=0", "3:status=-1", "absent", "deaf", "any:crash:1"})
        EXPECT_EQ(sim::to_text(sim::fault_from(text)), text);
}

TEST(fault_text, is_refused_where_it_is_wrong)
{
    for (const char* text : {"", "1", "1:", "1:boom", "x:close", "1:refuse", "1:refuse=", "1:refuse=5x", "1:close=1",
                             "1:close:0", "1:close:1:1", "close", "1:absent", "1:split=0", "-1:close", "1:delay=-1",
                             "1:refuse=-2147483649", "1:refuse=--1"})
        EXPECT_THROW(sim::fault_from(text), sim::input_error) << text;
}

} // namespace
