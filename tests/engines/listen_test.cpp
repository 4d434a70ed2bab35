// How a daemon opens its listening socket.

#include "kqutm/daemon.h"

#include "tests/engines/engines.h"
#include "tests/sandbox/descriptors.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

using calls = std::vector<std::string>;

struct server {
    const char* name;
    int (*create)();
    const char* path;
    const char* log; // null: the family has none
};

void PrintTo(const server& server, std::ostream* out)
{
    *out << server.name;
}

constexpr server servers[] = {
    {"ips_create_server_socket", ips_create_server_socket, ips_path, "/tmp/utm_log/utm_libips_log"},
    {"create_server_socket", create_server_socket, devid_path, "/tmp/utm_log/utm_libdevid_log"},
    {"av_create_server_socket", av_create_server_socket, av_path, nullptr},
};

class listen_at_path : public testing::TestWithParam<server> {
protected:
    const server& server_ = GetParam();

    // The family's log holds these lines; a family without a log leaves none at all.
    void expect_log(const std::string& lines) const
    {
        if (server_.log != nullptr)
            EXPECT_EQ(log_without_numbers(server_.log), lines);
        else
            EXPECT_FALSE(exists("/tmp/utm_log"));
    }

    std::string refusal(const std::string& step, const std::string& cause) const
    {
        return "Can't " + step + ": " + server_.path + "(" + cause + ")\n";
    }
};
INSTANTIATE_TEST_SUITE_P(servers, listen_at_path, testing::ValuesIn(servers),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(listen_at_path, takes_the_steps_once_each)
{
    wrap::plan plan;
    const int listener = server_.create();
    ASSERT_GE(listener, 0);
    const std::string path = server_.path;
    EXPECT_EQ(plan.calls(),
              (calls{"unlink(" + path + ")", "socket(1, " + std::to_string(SOCK_STREAM | SOCK_CLOEXEC) + ", 0)",
                     "setsockopt(1, 2, 4)", "bind(" + path + ", 110)", "listen(3)",
                     "chmod(" + path + ", " + std::to_string(0777) + ")"}));
    EXPECT_FALSE(exists("/tmp/utm_log"));
    int reuse = 0;
    socklen_t size = sizeof reuse;
    EXPECT_EQ(getsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &reuse, &size), 0);
    EXPECT_EQ(reuse, 1);
    EXPECT_EQ(fcntl(listener, F_GETFD), FD_CLOEXEC);
    close(listener);
}

TEST_P(listen_at_path, accepts_clients)
{
    const int listener = server_.create();
    sockaddr_un address = {.sun_family = AF_UNIX};
    strcpy(address.sun_path, server_.path);
    const int client = socket(AF_UNIX, SOCK_STREAM, 0);
    EXPECT_EQ(connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    const int connection = accept(listener, nullptr, nullptr);
    EXPECT_GE(connection, 0);
    for (int fd : {connection, client, listener})
        close(fd);
}

TEST_P(listen_at_path, has_room_for_a_backlog_of_3)
{
    const int listener = server_.create();
    sockaddr_un address = {.sun_family = AF_UNIX};
    strcpy(address.sun_path, server_.path);
    std::vector<int> clients;
    int result = 0;
    while (result == 0 && clients.size() < 100) {
        clients.push_back(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0));
        result = connect(clients.back(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(clients.size(), 5U); // the kernel lets one more wait than the backlog says; the fifth is turned away
    for (int fd : clients)
        close(fd);
    close(listener);
}

TEST_P(listen_at_path, replaces_a_stale_socket_and_opens_it_to_everyone)
{
    write_file(server_.path, "stale");
    const mode_t before = umask(0077);
    const int listener = server_.create();
    umask(before);
    ASSERT_GE(listener, 0);
    struct stat file;
    ASSERT_EQ(stat(server_.path, &file), 0);
    EXPECT_EQ(file.st_mode, mode_t{S_IFSOCK | 0777});
    close(listener);
    const int again = server_.create();
    EXPECT_GE(again, 0);
    close(again);
}

TEST_P(listen_at_path, last_steps_may_fail)
{
    for (const char* step : {"listen", "chmod"}) {
        wrap::plan plan;
        plan.fail(step, 1, EPERM);
        const int listener = server_.create();
        EXPECT_GE(listener, 0) << step;
        EXPECT_EQ(plan.count("listen"), 1);
        EXPECT_EQ(plan.count("chmod"), 1);
        close(listener);
    }
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

// Deliberate: a server socket that cannot be created goes on to its options, which then fail and say so too.
TEST_P(listen_at_path, socket_that_cannot_be_created)
{
    write_file(server_.path, "stale");
    wrap::plan plan;
    plan.fail("socket", 1, EMFILE);
    EXPECT_EQ(server_.create(), -1);
    EXPECT_EQ(errno, EMFILE);
    EXPECT_FALSE(exists(server_.path));
    EXPECT_EQ(plan.count("setsockopt"), 1);
    EXPECT_EQ(plan.count("bind"), 0);
    expect_log(line_of(server_.name, "Could not create socket") +
               refusal("set unix socket options", "Bad file descriptor"));
}

TEST_P(listen_at_path, options_that_cannot_be_set)
{
    wrap::plan plan;
    plan.fail("setsockopt", 1, ENOPROTOOPT);
    EXPECT_EQ(server_.create(), -1);
    EXPECT_EQ(errno, ENOPROTOOPT);
    EXPECT_EQ(plan.count("bind"), 0);
    EXPECT_FALSE(exists(server_.path));
    expect_log(refusal("set unix socket options", "Protocol not available"));
}

TEST_P(listen_at_path, options_that_cannot_be_set_at_descriptor_0)
{
    closed_stdin closed;
    wrap::plan plan;
    plan.fail("setsockopt", 1, ENOPROTOOPT);
    errno = EIO;
    EXPECT_EQ(server_.create(), -1);
    EXPECT_EQ(errno, ENOPROTOOPT);
    expect_log(refusal("set unix socket options", "Protocol not available"));
}

TEST_P(listen_at_path, path_that_cannot_be_bound)
{
    ASSERT_EQ(mkdir(server_.path, 0700), 0);
    EXPECT_EQ(server_.create(), -1);
    EXPECT_EQ(errno, EADDRINUSE);
    expect_log(refusal("bind unix address", "Address already in use"));
    rmdir(server_.path);
}

} // namespace
