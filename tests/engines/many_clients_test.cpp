// Two hundred clients of one engine at once: each has a connection of its own, and its own answer.

#include "kqutm/daemon.h"

#include "tests/engines/devices.h"

#include <atomic>
#include <thread>

namespace {

constexpr int clients = 200;

// Calls from all the threads at once; how many calls were right.
template <class Call> int at_once(Call call)
{
    std::atomic<int> right = 0;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < clients; i++)
            threads.emplace_back([&] { right += call(); });
    }
    return right;
}

TEST(many_clients, of_ips)
{
    engine_daemon daemon(ips_path, records{ips_reply(0)});
    EXPECT_EQ(at_once([] { return utm_ips_flush(2) == 0; }), clients);
    EXPECT_EQ(daemon.requests().size(), size_t{clients});
}

TEST(many_clients, of_devid)
{
    engine_daemon daemon(devid_path, records{device("a"), device("b"), end_marker()});
    const auto query = [] { return names_of(devices(utm_devid_get_device_list())) == names{"a", "b"}; };
    EXPECT_EQ(at_once(query), clients);
}

TEST(many_clients, of_av)
{
    engine_daemon daemon(av_path, records{av_reply(0)});
    EXPECT_EQ(at_once([] { return utm_av_set_whitelist("x", 1) == 0; }), clients);
    EXPECT_EQ(daemon.requests().size(), size_t{clients});
}

TEST(many_clients, of_ir)
{
    engine_daemon daemon(ir_path, records{ir_reply(0)});
    EXPECT_EQ(at_once([] { return utm_ir_db_set_blacklist(1, 2, 0) == 0; }), clients);
    EXPECT_EQ(daemon.requests().size(), size_t{clients});
}

TEST(many_clients, each_get_their_own_answer)
{
    // The end of a shell that creates the log would interrupt the receives of other threads.
    utm_log(UTM_IPS_LOG, "here\n");
    std::vector<sim::script> scripts;
    for (int32_t i = 1; i <= clients; i++)
        scripts.push_back(answer(records{ips_reply(i)}));
    sim::scripted_daemon daemon(ips_path, scripts);
    std::atomic<int64_t> sum = 0;
    at_once([&] {
        sum += utm_ips_reset();
        return true;
    });
    EXPECT_EQ(sum, int64_t{clients} * (clients + 1) / 2);
}

// Answers clients one after the other, until the listener is shut down. How many came.
int serve_ips(int listener)
{
    const sim::bytes reply = ips_reply(0);
    int served = 0;
    for (int client; (client = accept(listener, nullptr, nullptr)) >= 0; close(client)) {
        sim::bytes request(316);
        EXPECT_EQ(recv(client, request.data(), request.size(), 0), 316);
        EXPECT_EQ(send(client, reply.data(), reply.size(), MSG_NOSIGNAL), 316);
        ++served;
    }
    return served;
}

TEST(many_clients, of_a_socket_that_the_library_opened)
{
    const int listener = ips_create_server_socket();
    ASSERT_GE(listener, 0);
    int served = 0;
    {
        std::jthread daemon([&] { served = serve_ips(listener); });
        EXPECT_EQ(at_once([] { return utm_ips_flush(2) == 0; }), clients);
        shutdown(listener, SHUT_RDWR);
    }
    EXPECT_EQ(served, clients);
    close(listener);
}

} // namespace
