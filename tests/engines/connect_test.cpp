// How the clients connect: in one attempt, with the time limits of their family.

#include "kqutm/daemon.h"

#include "tests/engines/engines.h"
#include "tests/sandbox/descriptors.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <sys/time.h>

namespace {

using calls = std::vector<std::string>;

struct client {
    const char* name;
    int (*connect)();
    const char* path;
    time_t receive_limit;
    time_t send_limit;
    const char* log; // null: the family has none
    const char* receive_limit_failed;
    int32_t (*operation)();
    sim::bytes (*reply)(int32_t result);
};

void PrintTo(const client& client, std::ostream* out)
{
    *out << client.name;
}

constexpr client clients[] = {
    {"connect_ips", connect_ips, ips_path, 10, 0, "/tmp/utm_log/utm_libips_log", "setsockopt fail", utm_ips_reset,
     ips_reply},
    {"connect_deviceid", connect_deviceid, devid_path, 3, 3, "/tmp/utm_log/utm_libdevid_log",
     "setsockopt SO_RCVTIMEO fail", utm_devid_reset, devid_reply},
    {"connect_avd", connect_avd, av_path, 10, 0, nullptr, nullptr, utm_av_reset, av_reply},
};

timeval limit_of(int fd, int option)
{
    timeval limit = {};
    socklen_t size = sizeof limit;
    EXPECT_EQ(getsockopt(fd, SOL_SOCKET, option, &limit, &size), 0);
    return limit;
}

class connect_to : public testing::TestWithParam<client> {
protected:
    const client& client_ = GetParam();

    void expect_line(const char* text) const
    {
        if (client_.log != nullptr)
            EXPECT_EQ(log_without_numbers(client_.log), line_of(client_.name, text));
        else
            EXPECT_FALSE(exists("/tmp/utm_log"));
    }
};
INSTANTIATE_TEST_SUITE_P(clients, connect_to, testing::ValuesIn(clients),
                         [](const auto& test) { return std::string(test.param.name); });

// Deliberate: device identification limits requests and replies to 3 s, IPS replies alone, to 10 s.
TEST_P(connect_to, gives_a_connection_with_its_time_limits)
{
    deaf_daemon daemon(client_.path);
    wrap::plan plan;
    const int fd = client_.connect();
    ASSERT_GE(fd, 0);
    EXPECT_EQ(plan.calls("socket"), calls{"socket(1, " + std::to_string(SOCK_STREAM | SOCK_CLOEXEC) + ", 0)"});
    EXPECT_EQ(plan.count("setsockopt"), client_.send_limit == 0 ? 1 : 2);
    EXPECT_EQ(plan.calls("connect"), calls{std::string("connect(") + client_.path + ", 110)"});
    EXPECT_EQ(limit_of(fd, SO_RCVTIMEO).tv_sec, client_.receive_limit);
    EXPECT_EQ(limit_of(fd, SO_RCVTIMEO).tv_usec, 0);
    EXPECT_EQ(limit_of(fd, SO_SNDTIMEO).tv_sec, client_.send_limit);
    EXPECT_EQ(limit_of(fd, SO_SNDTIMEO).tv_usec, 0);
    EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
    EXPECT_FALSE(exists("/tmp/utm_log"));
    close(fd);
}

TEST_P(connect_to, descriptor_0_is_a_connection_and_is_closed)
{
    engine_daemon daemon(client_.path, records{client_.reply(0)});
    wrap::plan plan;
    bool connected = false;
    plan.before("send", 1, [&] { connected = fcntl(0, F_GETFD) == FD_CLOEXEC; });
    closed_stdin closed;
    EXPECT_EQ(client_.operation(), 0);
    EXPECT_TRUE(connected);
    EXPECT_EQ(fcntl(0, F_GETFD), -1);
}

TEST_P(connect_to, limits_are_set_before_connecting)
{
    deaf_daemon daemon(client_.path);
    wrap::plan plan;
    int set = 0;
    plan.before("connect", 1, [&] { set = plan.count("setsockopt"); });
    close(client_.connect());
    EXPECT_EQ(set, plan.count("setsockopt"));
}

TEST_P(connect_to, absent_daemon_fails_at_once)
{
    wrap::plan plan;
    EXPECT_EQ(client_.connect(), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(plan.count("connect"), 1);
    EXPECT_EQ(plan.count("usleep"), 0);
    expect_line("connect failed. Error");
}

TEST_P(connect_to, dead_daemon_fails_at_once)
{
    deaf_daemon(client_.path).die();
    EXPECT_EQ(client_.connect(), -1);
    EXPECT_EQ(errno, ECONNREFUSED);
    expect_line("connect failed. Error");
}

TEST_P(connect_to, socket_that_cannot_be_created)
{
    wrap::plan plan;
    plan.fail("socket", 1, EMFILE);
    EXPECT_EQ(client_.connect(), -1);
    EXPECT_EQ(errno, EMFILE);
    EXPECT_EQ(plan.count("setsockopt"), 0);
    expect_line("Could not create socket");
}

TEST_P(connect_to, receive_limit_that_cannot_be_set)
{
    deaf_daemon daemon(client_.path);
    wrap::plan plan;
    plan.fail("setsockopt", 1, EDOM);
    EXPECT_EQ(client_.connect(), -1);
    EXPECT_EQ(errno, EDOM);
    EXPECT_EQ(plan.count("setsockopt"), 1);
    EXPECT_EQ(plan.count("connect"), 0);
    expect_line(client_.receive_limit_failed);
}

TEST(connect_to_devid, send_limit_that_cannot_be_set)
{
    deaf_daemon daemon(devid_path);
    wrap::plan plan;
    plan.fail("setsockopt", 2, EDOM);
    EXPECT_EQ(connect_deviceid(), -1);
    EXPECT_EQ(errno, EDOM);
    EXPECT_EQ(plan.count("connect"), 0);
    EXPECT_EQ(devid_log(), line_of("connect_deviceid", "setsockopt SO_SNDTIMEO fail"));
}

// What brings more than a result.
struct reading {
    const char* name;
    const char* path;
    sim::bytes (*reply)(int32_t result);
    std::vector<int32_t> results;
    bool (*succeeds)();
};

void PrintTo(const reading& reading, std::ostream* out)
{
    *out << reading.name;
}

template <class Node> bool given(Node* list)
{
    if (list == nullptr)
        return false;
    free_list(list);
    return true;
}

const reading readings[] = {
    {"whitelist", av_path, av_reply, {-1}, [] { return given(utm_av_show_whitelist()); }},
    {"cache", av_path, av_reply, {-1}, [] { return given(utm_av_show_cache()); }},
    {"rules", ips_path, ips_reply, {0}, [] { return given(utm_ips_show_customizelist()); }},
    {"devices", devid_path, devid_reply, {0, -1}, [] { return given(utm_devid_get_device_list()); }},
    {"device_by_ip",
     devid_path,
     devid_reply,
     {0, -1},
     [] { return given(utm_devid_get_device_list_by_ip("1.2.3.4")); }},
    {"ips_status",
     ips_path,
     ips_reply,
     {0},
     [] {
         const std::unique_ptr<utm_ips_message, decltype(&free)> status(utm_ips_show_status(), free);
         return status != nullptr;
     }},
    {"devid_status",
     devid_path,
     devid_reply,
     {0},
     [] {
         utm_devid_status status;
         return utm_devid_get_status(&status) == 0;
     }},
    {"timestamp", devid_path, devid_reply, {0}, [] { return utm_devid_get_latest_timestamp() != 0; }},
};

class read_at_descriptor_0 : public testing::TestWithParam<reading> {};
INSTANTIATE_TEST_SUITE_P(readings, read_at_descriptor_0, testing::ValuesIn(readings),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(read_at_descriptor_0, succeeds_and_closes_it)
{
    records replies;
    for (const int32_t result : GetParam().results)
        replies.push_back(GetParam().reply(result));
    engine_daemon daemon(GetParam().path, replies);
    closed_stdin closed;
    EXPECT_TRUE(GetParam().succeeds());
    EXPECT_EQ(fcntl(0, F_GETFD), -1);
}

} // namespace
