// The query by IP address where the daemon knows no such device: the gateway itself may have the address.

#include "sim/loopback.h"
#include "tests/engines/devices.h"
#include "tests/wrap/wrap.h"

#include <arpa/inet.h>
#include <cerrno>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <semaphore>

namespace {

constexpr char query[] = "utm_devid_get_device_list_by_ip";

std::string compared(const std::string& ip, const std::string& address)
{
    return "remote_ip: " + ip + ", address: " + address + "\n";
}

const std::string not_found = line_of(query, "this ip address is not one of device");

class gateway_fallback : public testing::Test {
protected:
    static void SetUpTestSuite() { sim::bring_up_loopback({"192.168.7.1", "fd00::7"}); }

    engine_daemon knows_nothing_{devid_path, records{devid_reply(-1)}};
};

void expect_gateway(const devices& list)
{
    ASSERT_NE(list, nullptr);
    ASSERT_EQ(nodes_of(list.get()).size(), 1U);
    sim::bytes gateway(352);
    put_text(gateway, 97, "HomeGW");
    put_text(gateway, 193, "Gateway");
    put_u32(gateway, 332, 2);
    EXPECT_EQ(bytes_of(&list->next->record, 352), gateway);
}

TEST_F(gateway_fallback, finds_an_ipv4_address)
{
    expect_gateway(devices(utm_devid_get_device_list_by_ip("192.168.7.1")));
    EXPECT_EQ(devid_log(), compared("192.168.7.1", "127.0.0.1") + compared("192.168.7.1", "192.168.7.1"));
}

TEST_F(gateway_fallback, stops_at_the_first_match)
{
    expect_gateway(devices(utm_devid_get_device_list_by_ip("127.0.0.1")));
    EXPECT_EQ(devid_log(), compared("127.0.0.1", "127.0.0.1"));
}

std::string all_compared(const std::string& ip)
{
    return compared(ip, "127.0.0.1") + compared(ip, "192.168.7.1");
}

TEST_F(gateway_fallback, finds_an_ipv6_address)
{
    expect_gateway(devices(utm_devid_get_device_list_by_ip("fd00::7")));
    const std::string log = devid_log();
    EXPECT_EQ(log.find(all_compared("fd00::7")), 0U);
    EXPECT_TRUE(log.ends_with(compared("fd00::7", "fd00::7")));
}

TEST_F(gateway_fallback, compares_texts_and_not_addresses)
{
    EXPECT_EQ(utm_devid_get_device_list_by_ip("fd00:0::7"), nullptr);
    EXPECT_EQ(errno, 0);
    EXPECT_TRUE(devid_log().ends_with(not_found));
    EXPECT_EQ(utm_devid_get_device_list_by_ip("192.168.7.1 "), nullptr);
}

TEST_F(gateway_fallback, compares_the_whole_text_that_was_asked_for)
{
    const std::string ip = "192.168.7.1 and more than the field can hold";
    EXPECT_EQ(utm_devid_get_device_list_by_ip(ip.c_str()), nullptr);
    EXPECT_EQ(devid_log().find(all_compared(ip)), 0U);
    EXPECT_EQ(knows_nothing_.requests().front()[24 + 161 + 15], 0);
}

TEST_F(gateway_fallback, unknown_address_is_null)
{
    errno = EIO;
    EXPECT_EQ(utm_devid_get_device_list_by_ip("10.9.9.9"), nullptr);
    EXPECT_EQ(errno, 0);
    const std::string log = devid_log();
    EXPECT_EQ(log.find(all_compared("10.9.9.9")), 0U);
    EXPECT_NE(log.find(compared("10.9.9.9", "::1")), std::string::npos);
    EXPECT_NE(log.find(compared("10.9.9.9", "fd00::7")), std::string::npos);
    EXPECT_TRUE(log.ends_with("\n" + not_found));
}

TEST_F(gateway_fallback, is_for_that_query_alone)
{
    EXPECT_EQ(utm_devid_get_device_list_by_interface("192.168.7.1"), nullptr);
    EXPECT_EQ(utm_devid_get_device_list_by_mac("192.168.7.1"), nullptr);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_F(gateway_fallback, comes_after_the_connection_is_closed)
{
    std::binary_semaphore closed(0);
    engine_daemon daemon(devid_path, sim::script{sim::receive(), sim::send(end_marker()), sim::await_close(),
                                                 [&](const sim::conversation&) { closed.release(); }});
    wrap::plan plan;
    plan.before("getifaddrs", 1, [&] { closed.acquire(); });
    expect_gateway(devices(utm_devid_get_device_list_by_ip("127.0.0.1")));
    EXPECT_EQ(plan.count("getifaddrs"), 1);
}

TEST_F(gateway_fallback, addresses_that_cannot_be_read)
{
    wrap::plan plan;
    plan.fail("getifaddrs", 1, ENOBUFS);
    EXPECT_EQ(utm_devid_get_device_list_by_ip("127.0.0.1"), nullptr);
    EXPECT_EQ(errno, ENOBUFS);
    EXPECT_EQ(devid_log(), not_found);
}

TEST_F(gateway_fallback, no_addresses_at_all)
{
    wrap::plan plan;
    plan.answer("getifaddrs", 1, 0);
    EXPECT_EQ(utm_devid_get_device_list_by_ip("127.0.0.1"), nullptr);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(devid_log(), not_found);
}

TEST_F(gateway_fallback, address_that_cannot_be_told_as_text)
{
    wrap::plan plan;
    plan.fail("inet_ntop", 2, ENOSPC);
    EXPECT_EQ(utm_devid_get_device_list_by_ip("192.168.7.1"), nullptr);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(plan.calls("inet_ntop"), std::vector<std::string>(2, "inet_ntop(2, 46)"));
    EXPECT_EQ(devid_log(), compared("192.168.7.1", "127.0.0.1") + not_found);
}

TEST_F(gateway_fallback, entries_that_have_no_internet_address_are_skipped)
{
    sockaddr other = {.sa_family = AF_PACKET, .sa_data = {}};
    sockaddr_in internet = {};
    internet.sin_family = AF_INET;
    inet_pton(AF_INET, "10.9.9.9", &internet.sin_addr);
    ifaddrs entries[3] = {};
    entries[0].ifa_next = &entries[1];
    entries[1].ifa_next = &entries[2];
    entries[1].ifa_addr = &other;
    entries[2].ifa_addr = reinterpret_cast<sockaddr*>(&internet);
    wrap::plan plan;
    plan.answer("getifaddrs", 1, reinterpret_cast<long>(entries));
    plan.answer("freeifaddrs", 1, 0);
    expect_gateway(devices(utm_devid_get_device_list_by_ip("10.9.9.9")));
    EXPECT_EQ(devid_log(), compared("10.9.9.9", "10.9.9.9"));
}

TEST_F(gateway_fallback, addresses_are_released)
{
    for (const char* ip : {"127.0.0.1", "10.9.9.9"}) {
        for (int untold : {1000, 1}) {
            wrap::plan plan;
            plan.fail("inet_ntop", untold, ENOSPC);
            const devices list(utm_devid_get_device_list_by_ip(ip));
            EXPECT_EQ(plan.count("freeifaddrs"), 1) << ip;
        }
    }
}

TEST_F(gateway_fallback, gateway_that_cannot_be_allocated)
{
    wrap::plan plan;
    plan.before("getifaddrs", 1, [&] { plan.fail("malloc", plan.count("malloc") + 1, ENOMEM); });
    EXPECT_EQ(utm_devid_get_device_list_by_ip("127.0.0.1"), nullptr);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(devid_log(), compared("127.0.0.1", "127.0.0.1") + line_of(query, "malloc fail"));
}

TEST_F(gateway_fallback, follows_devices_that_were_all_left_out)
{
    engine_daemon daemon(devid_path, records{device("lamp"), end_marker()});
    wrap::plan plan;
    plan.fail("malloc", 2, ENOMEM);
    expect_gateway(devices(utm_devid_get_device_list_by_ip("127.0.0.1")));
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(devid_log(), compared("127.0.0.1", "127.0.0.1"));
}

TEST(by_ip, known_device_needs_no_fallback)
{
    engine_daemon daemon(devid_path, records{device("lamp"), devid_reply(-1)});
    wrap::plan plan;
    EXPECT_EQ(names_of(devices(utm_devid_get_device_list_by_ip("127.0.0.1"))), names{"lamp"});
    EXPECT_EQ(plan.count("getifaddrs"), 0);
}

TEST(by_ip, broken_stream_leads_to_no_fallback)
{
    const records broken[] = {{}, {first_bytes(end_marker(), 388)}};
    for (const records& sent : broken) {
        engine_daemon daemon(devid_path, sent);
        wrap::plan plan;
        EXPECT_EQ(utm_devid_get_device_list_by_ip("127.0.0.1"), nullptr);
        EXPECT_EQ(plan.count("getifaddrs"), 0);
    }
    EXPECT_FALSE(exists("/tmp/utm_log"));
    engine_daemon daemon(devid_path, records{end_marker()});
    wrap::plan plan;
    plan.fail("recv", 1, EIO);
    EXPECT_EQ(utm_devid_get_device_list_by_ip("127.0.0.1"), nullptr);
    EXPECT_EQ(plan.count("getifaddrs"), 0);
    EXPECT_EQ(devid_log(), line_of(query, "recv fail"));
}

TEST_F(gateway_fallback, line_numbers_tell_messages_apart)
{
    expect_line_numbers_of_their_own(UTM_DEVID_LOG, query, 6, [] {
        fail_in_each_way([] { utm_devid_get_device_list_by_ip("10.9.9.9"); }, devid_path, records{end_marker()},
                         {"send", "recv"});
        for (int nth : {1, 2}) { // head, gateway
            engine_daemon daemon(devid_path, records{end_marker()});
            wrap::plan plan;
            plan.fail("malloc", nth, ENOMEM);
            utm_devid_get_device_list_by_ip("127.0.0.1");
        }
    });
}

} // namespace
