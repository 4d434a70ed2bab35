// The real time limits of the engine clients, each waited for once, and the lack of one.

#include "kqutm/daemon.h"

#include "tests/engines/engines.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <thread>

namespace {

using namespace std::chrono_literals;

// How long a call takes, and what it gives.
template <class Call> double seconds_of(Call call)
{
    const auto start = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

sim::script silence()
{
    return {sim::receive(), sim::await_close()};
}

TEST(engine_waits, ips_and_av_wait_10_seconds_for_a_reply)
{
    engine_daemon ips(ips_path, silence());
    engine_daemon av(av_path, silence());
    std::jthread other([] {
        const double seconds = seconds_of([] {
            EXPECT_EQ(utm_av_reset(), -1);
            EXPECT_EQ(errno, ETIMEDOUT);
        });
        EXPECT_GE(seconds, 10);
    });
    const double seconds = seconds_of([] {
        EXPECT_EQ(utm_ips_reset(), -1);
        EXPECT_EQ(errno, ETIMEDOUT);
    });
    EXPECT_GE(seconds, 10);
    EXPECT_EQ(ips_log(), line_of("utm_ips_reset", "recv fail"));
}

TEST(engine_waits, ips_and_av_lists_wait_10_seconds_for_each_record)
{
    engine_daemon ips(ips_path, sim::script{sim::receive(), sim::send(ips_reply(1)), sim::await_close()});
    engine_daemon av(av_path, sim::script{sim::receive(), sim::send(av_reply(0)), sim::await_close()});
    std::jthread other([] {
        utm_av_entry* list = nullptr;
        EXPECT_GE(seconds_of([&] { list = utm_av_show_cache(); }), 10);
        ASSERT_NE(list, nullptr);
        EXPECT_EQ(nodes_of(list).size(), 1U);
        free_list(list);
    });
    utm_ips_rule* list = nullptr;
    EXPECT_GE(seconds_of([&] { list = utm_ips_show_customizelist(); }), 10);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(nodes_of(list).size(), 1U);
    free_list(list);
    EXPECT_EQ(ips_log(), line_of("utm_ips_show_customizelist", "recv fail"));
}

TEST(engine_waits, devid_waits_3_seconds_for_a_reply)
{
    engine_daemon devid(devid_path, silence());
    const double seconds = seconds_of([] {
        EXPECT_EQ(utm_devid_reset(), -1);
        EXPECT_EQ(errno, ETIMEDOUT);
    });
    EXPECT_GE(seconds, 3);
    EXPECT_LT(seconds, 10);
    EXPECT_EQ(devid_log(), line_of("utm_devid_reset", "recv fail"));
}

// Connections that fill the queue of a daemon.
class full_queue {
public:
    explicit full_queue(const char* path)
    {
        sockaddr_un address = {.sun_family = AF_UNIX};
        strncpy(address.sun_path, path, sizeof address.sun_path - 1);
        do
            waiting_.push_back(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
        while (connect(waiting_.back(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0);
        EXPECT_EQ(errno, EAGAIN);
    }
    full_queue(const full_queue&) = delete;
    full_queue& operator=(const full_queue&) = delete;
    ~full_queue()
    {
        for (int fd : waiting_)
            close(fd);
    }

private:
    std::vector<int> waiting_;
};

TEST(engine_waits, devid_waits_3_seconds_for_a_place_in_a_full_queue)
{
    deaf_daemon daemon(devid_path);
    full_queue queue(devid_path);
    const double seconds = seconds_of([] {
        EXPECT_EQ(utm_devid_reset(), -1);
        EXPECT_EQ(errno, ETIMEDOUT);
    });
    EXPECT_GE(seconds, 3);
    EXPECT_EQ(devid_log(), line_of("connect_deviceid", "connect failed. Error") +
                               line_of("utm_devid_reset", "connect to deviceid fail"));
}

// Only the daemon's end brings these callers back: before it, they have waited longer than devid would.
TEST(engine_waits, ips_and_av_wait_without_a_limit_for_a_place_in_a_full_queue)
{
    deaf_daemon ips(ips_path);
    deaf_daemon av(av_path);
    full_queue ips_queue(ips_path);
    full_queue av_queue(av_path);
    std::jthread end([&] {
        std::this_thread::sleep_for(4s);
        ips.die();
        av.die();
    });
    std::jthread other([] { EXPECT_GE(seconds_of([] { EXPECT_EQ(utm_av_reset(), -1); }), 3.9); });
    EXPECT_GE(seconds_of([] { EXPECT_EQ(utm_ips_reset(), -1); }), 3.9);
    EXPECT_EQ(errno, ECONNREFUSED);
}

TEST(engine_waits, ir_waits_as_long_as_the_daemon_takes)
{
    engine_daemon ir(ir_path, sim::script{sim::receive(), sim::pause(11s), sim::send(ir_reply(0))});
    EXPECT_GE(seconds_of([] { EXPECT_EQ(utm_ir_activate(1), 0); }), 11);
}

TEST(engine_waits, late_replies_are_taken)
{
    engine_daemon ips(ips_path, sim::script{sim::receive(), sim::pause(300ms), sim::send(ips_reply(0))});
    engine_daemon devid(devid_path, sim::script{sim::receive(), sim::pause(300ms), sim::send(devid_reply(0))});
    engine_daemon av(av_path, sim::script{sim::receive(), sim::pause(300ms), sim::send(av_reply(0))});
    EXPECT_EQ(utm_ips_reset(), 0);
    EXPECT_EQ(utm_devid_reset(), 0);
    EXPECT_EQ(utm_av_reset(), 0);
}

} // namespace
