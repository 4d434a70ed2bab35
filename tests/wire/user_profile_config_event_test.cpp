#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/registry.h"
#include "tests/wire/exchange.h"

#include <gtest/gtest.h>

namespace {

TEST(user_profile_config_event, create_is_code_1_and_the_id)
{
    config_daemons daemons;
    ASSERT_EQ(utm_user_profile_create(0x01020304), 0x01020304);
    EXPECT_EQ(daemons.request_of(user_profile_path), record(16, {{0, 1}, {4, 4}, {5, 3}, {6, 2}, {7, 1}}));
}

TEST(user_profile_config_event, delete_is_code_2_and_the_id)
{
    config_daemons daemons;
    set_slots({{profiles, 0x7fffff00}});
    ASSERT_EQ(utm_user_profile_delete(0x7fffff00), 0);
    EXPECT_EQ(daemons.request_of(user_profile_path), record(16, {{0, 2}, {4, 0}, {5, 0xff}, {6, 0xff}, {7, 0x7f}}));
}

TEST(user_profile_config_event, add_device_is_code_3_the_id_and_the_address)
{
    config_daemons daemons;
    set_slots({{profiles, 0x11}});
    ASSERT_EQ(utm_user_profile_add_dev(0x11, mac), 0);
    EXPECT_EQ(daemons.request_of(user_profile_path),
              record(16, {{0, 3}, {4, 0x11}, {8, 0xa0}, {9, 0xb1}, {10, 0xc2}, {11, 0xd3}, {12, 0xe4}, {13, 0xf5}}));
}

TEST(user_profile_config_event, delete_device_is_code_4_the_id_and_the_address)
{
    config_daemons daemons;
    set_slots({{profiles, 0x22}});
    ASSERT_EQ(utm_user_profile_del_dev(0x22, mac), 0);
    EXPECT_EQ(daemons.request_of(user_profile_path),
              record(16, {{0, 4}, {4, 0x22}, {8, 0xa0}, {9, 0xb1}, {10, 0xc2}, {11, 0xd3}, {12, 0xe4}, {13, 0xf5}}));
}

} // namespace
