#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/registry.h"
#include "tests/wire/exchange.h"

#include <gtest/gtest.h>

namespace {

TEST(cf_config_event, create_is_code_1_and_the_id)
{
    config_daemons daemons;
    ASSERT_EQ(utm_user_profile_create(0x01020304), 0x01020304);
    EXPECT_EQ(daemons.request_of(cf_path), record(2056, {{0, 1}, {8, 4}, {9, 3}, {10, 2}, {11, 1}}));
}

TEST(cf_config_event, delete_is_code_2_and_the_id)
{
    config_daemons daemons;
    set_slots({{profiles, 0x7fffff00}});
    ASSERT_EQ(utm_user_profile_delete(0x7fffff00), 0);
    EXPECT_EQ(daemons.request_of(cf_path), record(2056, {{0, 2}, {8, 0}, {9, 0xff}, {10, 0xff}, {11, 0x7f}}));
}

TEST(cf_config_event, add_device_is_code_3_the_id_and_the_address)
{
    config_daemons daemons;
    set_slots({{profiles, 0x11}});
    ASSERT_EQ(utm_user_profile_add_dev(0x11, mac), 0);
    EXPECT_EQ(
        daemons.request_of(cf_path),
        record(2056, {{0, 3}, {8, 0x11}, {12, 0xa0}, {13, 0xb1}, {14, 0xc2}, {15, 0xd3}, {16, 0xe4}, {17, 0xf5}}));
}

TEST(cf_config_event, delete_device_is_code_4_the_id_and_the_address)
{
    config_daemons daemons;
    set_slots({{profiles, 0x22}});
    ASSERT_EQ(utm_user_profile_del_dev(0x22, mac), 0);
    EXPECT_EQ(
        daemons.request_of(cf_path),
        record(2056, {{0, 4}, {8, 0x22}, {12, 0xa0}, {13, 0xb1}, {14, 0xc2}, {15, 0xd3}, {16, 0xe4}, {17, 0xf5}}));
}

TEST(cf_config_event, longest_url_fills_the_body_to_its_terminator)
{
    sim::scripted_daemon daemon(cf_path, answer(0));
    sim::bytes event(2056, 'u'); // 2047 of them from byte 8 on
    event[0] = 5;
    event[2055] = 0;
    ASSERT_EQ(send_utm_config_event(event.data(), 0), 0);
    EXPECT_EQ(daemon.requests(), records{event});
}

} // namespace
