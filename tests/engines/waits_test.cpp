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

using steady = std::chrono::steady_clock;

double seconds_since(steady::time_point start)
{
    return std::chrono::duration<double>(steady::now() - start).count();
}

template <class Call> double seconds_of(Call call)
{
    const auto start = steady::now();
    call();
    return seconds_since(start);
}

// The end of a shell that creates a log would interrupt the waits of other threads.
constexpr char earlier[] = "earlier\n";

void create_logs()
{
    utm_log(UTM_IPS_LOG, earlier);
    utm_log(UTM_DEVID_LOG, earlier);
}

sim::script silence()
{
    return {sim::receive(), sim::await_close()};
}

TEST(engine_waits, ips_and_av_wait_10_seconds_for_a_reply)
{
    create_logs();
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
    EXPECT_EQ(ips_log(), earlier + line_of("utm_ips_reset", "recv fail"));
}

// The list of a daemon that falls silent after one entry.
template <class Node> void expect_one_entry_after(int seconds, Node* (*query)())
{
    Node* list = nullptr;
    const double waited = seconds_of([&] {
        list = query();
        EXPECT_EQ(errno, ETIMEDOUT);
    });
    EXPECT_GE(waited, seconds);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(nodes_of(list).size(), 1U);
    free_list(list);
}

TEST(engine_waits, lists_wait_as_long_for_each_record)
{
    create_logs();
    engine_daemon ips(ips_path, sim::script{sim::receive(), sim::send(ips_reply(1)), sim::await_close()});
    engine_daemon devid(devid_path, sim::script{sim::receive(), sim::send(devid_reply(0)), sim::await_close()});
    engine_daemon av(av_path, sim::script{sim::receive(), sim::send(av_reply(0)), sim::await_close()});
    {
        std::jthread of_devid([] { expect_one_entry_after(3, utm_devid_get_device_list); });
        std::jthread of_av([] { expect_one_entry_after(10, utm_av_show_cache); });
        expect_one_entry_after(10, utm_ips_show_customizelist);
    }
    EXPECT_EQ(devid_log(), earlier + line_of("utm_devid_get_device_list", "recv fail"));
    EXPECT_EQ(ips_log(), earlier + line_of("utm_ips_show_customizelist", "recv fail"));
}

TEST(engine_waits, devid_waits_3_seconds_for_a_reply)
{
    engine_daemon devid(devid_path, silence());
    const double seconds = seconds_of([] {
        EXPECT_EQ(utm_devid_reset(), -1);
        EXPECT_EQ(errno, ETIMEDOUT);
    });
    EXPECT_GE(seconds, 3);
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
            waiting_.push_back(socket(AF_UNIX, socket_type_of(path) | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
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

// Only the daemon's end brings this caller back: before it, the caller has waited longer than devid would.
void expect_wait_for_the_end(const char* path, int32_t (*operation)())
{
    deaf_daemon daemon(path);
    full_queue queue(path);
    const auto start = steady::now();
    std::jthread end([&] {
        std::this_thread::sleep_for(4s);
        daemon.die();
    });
    EXPECT_EQ(operation(), -1);
    EXPECT_EQ(errno, ECONNREFUSED);
    EXPECT_GE(seconds_since(start), 4);
}

TEST(engine_waits, all_but_devid_wait_without_a_limit_for_a_place_in_a_full_queue)
{
    create_logs();
    std::jthread of_av([] { expect_wait_for_the_end(av_path, utm_av_reset); });
    std::jthread of_ir([] { expect_wait_for_the_end(ir_path, utm_ir_reset); });
    expect_wait_for_the_end(ips_path, utm_ips_reset);
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
