#include "sim/scripted_daemon.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr char path[] = "/dev/a_daemon";
using namespace std::chrono_literals;

int connect_to(const char* where, int type = SOCK_STREAM)
{
    sockaddr_un address = {.sun_family = AF_UNIX};
    strncpy(address.sun_path, where, sizeof address.sun_path - 1);
    int fd = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    EXPECT_EQ(connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0) << strerror(errno);
    return fd;
}

void write_text(int fd, const std::string& text)
{
    EXPECT_EQ(write(fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

sim::bytes read_some(int fd)
{
    sim::bytes buffer(100);
    ssize_t size = read(fd, buffer.data(), buffer.size());
    buffer.resize(size < 0 ? 0 : static_cast<size_t>(size));
    return buffer;
}

TEST(scripted_daemon, answers_by_script_and_tells_the_request)
{
    sim::scripted_daemon daemon(path, sim::script{sim::receive(), sim::send({1, 0, 2})});
    int client = connect_to(path);
    write_text(client, "abc");
    EXPECT_EQ(read_some(client), (sim::bytes{1, 0, 2}));
    EXPECT_EQ(read_some(client), sim::bytes{}) << "the end of the script closes";
    close(client);
    EXPECT_EQ(daemon.requests(), (std::vector<sim::bytes>{{'a', 'b', 'c'}}));
}

TEST(scripted_daemon, further_connections_follow_the_last_script)
{
    sim::scripted_daemon daemon(path, {sim::script{sim::send({1})}, sim::script{sim::send({2})}});
    for (uint8_t expected : sim::bytes{1, 2, 2}) {
        int client = connect_to(path);
        EXPECT_EQ(read_some(client), sim::bytes{expected});
        close(client);
    }
    EXPECT_EQ(daemon.requests().size(), 3U);
}

TEST(scripted_daemon, several_share_one_journal)
{
    sim::journal journal;
    const sim::script script = {sim::receive(), sim::send({0})};
    sim::scripted_daemon first("/dev/first", script, &journal);
    sim::scripted_daemon second("/dev/second", script, &journal);
    for (const char* next : {"/dev/second", "/dev/first", "/dev/second"}) {
        int client = connect_to(next);
        write_text(client, "x");
        EXPECT_EQ(read_some(client), sim::bytes{0});
        close(client);
    }
    ASSERT_EQ(journal.visits().size(), 3U);
    EXPECT_EQ(journal.visits()[0].path, "/dev/second");
    EXPECT_EQ(journal.visits()[1].path, "/dev/first");
    EXPECT_EQ(journal.visits()[2].path, "/dev/second");
    EXPECT_EQ(first.requests().size(), 1U);
}

TEST(scripted_daemon, closing_without_receiving_resets_the_connection)
{
    sim::scripted_daemon daemon(path, sim::script{sim::pause(50ms)});
    int client = connect_to(path);
    write_text(client, "unread");
    char byte;
    EXPECT_EQ(read(client, &byte, 1), -1);
    EXPECT_EQ(errno, ECONNRESET);
    close(client);
    EXPECT_EQ(daemon.requests(), std::vector<sim::bytes>{{}});
}

TEST(scripted_daemon, keeps_the_records_of_a_packet_socket_apart)
{
    const sim::script script = {sim::receive(), sim::send({7, 7}), sim::send({8})};
    sim::scripted_daemon daemon(path, script, nullptr, SOCK_SEQPACKET);
    int client = connect_to(path, SOCK_SEQPACKET);
    write_text(client, "one");
    EXPECT_EQ(read_some(client), (sim::bytes{7, 7}));
    EXPECT_EQ(read_some(client), sim::bytes{8});
    close(client);
    EXPECT_EQ(daemon.requests(), (std::vector<sim::bytes>{{'o', 'n', 'e'}}));
}

TEST(scripted_daemon, stops_while_a_client_stays)
{
    int client;
    {
        sim::scripted_daemon daemon(path, sim::script{sim::await_close()});
        client = connect_to(path);
    }
    EXPECT_NE(access(path, F_OK), 0) << "the socket is gone with it";
    close(client);
}

} // namespace
