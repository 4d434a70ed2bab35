#include "tests/wire/engines.h"

namespace {

template <class Operation> sim::bytes request(Operation operation)
{
    return request_of("/tmp/utm_devid", operation);
}

TEST(devid_message, switches)
{
    EXPECT_EQ(request([] { utm_devid_activate(0); }), record(392, {{0, 1}}));
    EXPECT_EQ(request([] { utm_devid_activate(1); }), record(392, {{0, 1}, {8, 1}}));
    EXPECT_EQ(request([] { utm_devid_debug(0); }), record(392, {{0, 7}}));
    EXPECT_EQ(request([] { utm_devid_debug(1); }), record(392, {{0, 7}, {4, 1}}));
}

TEST(devid_message, bare_codes)
{
    uint32_t status[4];
    EXPECT_EQ(request([&] { utm_devid_get_status(status); }), record(392, {{0, 2}}));
    EXPECT_EQ(request([] { utm_devid_get_device_list(); }), record(392, {{0, 3}}));
    EXPECT_EQ(request([] { utm_devid_flush_cache_list(); }), record(392, {{0, 5}}));
    EXPECT_EQ(request([] { utm_devid_get_latest_timestamp(); }), record(392, {{0, 6}}));
    EXPECT_EQ(request([] { utm_devid_show_all_list(); }), record(392, {{0, 8}}));
    EXPECT_EQ(request([] { utm_devid_reset(); }), record(392, {{0, 9}}));
}

TEST(devid_message, cache_size)
{
    EXPECT_EQ(request([] { utm_devid_cache_set_max_size(1); }), record(392, {{0, 4}, {16, 1}}));
    EXPECT_EQ(request([] { utm_devid_cache_set_max_size(10); }), record(392, {{0, 4}, {16, 10}}));
}

TEST(devid_message, filters)
{
    EXPECT_EQ(request([] { utm_devid_get_device_list_by_ip("192.168.1.20"); }),
              record_with_text(392, 24 + 161, "192.168.1.20", {{0, 3}}));
    EXPECT_EQ(request([] { utm_devid_get_device_list_by_interface("br0"); }),
              record_with_text(392, 24 + 177, "br0", {{0, 3}}));
    EXPECT_EQ(request([] { utm_devid_get_device_list_by_mac("a0:b1:c2:d3:e4:f5"); }),
              record_with_text(392, 24, "a0:b1:c2:d3:e4:f5", {{0, 3}}));
    EXPECT_EQ(request([] { utm_devid_get_device_list_by_mac(""); }), record(392, {{0, 3}}));
}

TEST(devid_message, filters_are_cut_and_terminated)
{
    const std::string text = "abcdefghijklmnopqrstuvwxyz0123456789";
    for (size_t length : {15U, 16U, 20U, 36U}) {
        const std::string filter = text.substr(0, length);
        EXPECT_EQ(request([&] { utm_devid_get_device_list_by_ip(filter.c_str()); }),
                  record_with_text(392, 24 + 161, text.substr(0, 15), {{0, 3}}));
        EXPECT_EQ(request([&] { utm_devid_get_device_list_by_interface(filter.c_str()); }),
                  record_with_text(392, 24 + 177, text.substr(0, 15), {{0, 3}}));
    }
    for (size_t length : {31U, 32U, 36U}) {
        const std::string filter = text.substr(0, length);
        EXPECT_EQ(request([&] { utm_devid_get_device_list_by_mac(filter.c_str()); }),
                  record_with_text(392, 24, text.substr(0, 31), {{0, 3}}));
    }
}

TEST(devid_message, ignored_interface)
{
    EXPECT_EQ(request([] { utm_devid_set_ignore_iface("br0", 0); }), record_with_text(392, 24 + 177, "br0", {{0, 10}}));
    EXPECT_EQ(request([] { utm_devid_set_ignore_iface("interface_of_20_char", 1); }),
              record_with_text(392, 24 + 177, "interface_of_20", {{0, 10}, {20, 1}}));
}

} // namespace
