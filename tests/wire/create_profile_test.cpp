#include "tests/sandbox/config_daemons.h"
#include "tests/wire/exchange.h"
#include "tests/wrap/wrap.h"

#include <gtest/gtest.h>

namespace {

TEST(create_profile, whole_request_as_the_three_daemons_see_it)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.answer("time", wrap::every, 0x6553f100);
    ASSERT_EQ(utm_user_profile_create(0), 0x6553f100);
    const std::vector<sim::visit> visits = daemons.visits();
    ASSERT_EQ(visits.size(), 3U);
    EXPECT_EQ(visits[0].path, "/dev/utm_cf_config_socket");
    EXPECT_EQ(visits[0].request, record(2056, {{0, 1}, {8, 0x00}, {9, 0xf1}, {10, 0x53}, {11, 0x65}}));
    EXPECT_EQ(visits[1].path, "/dev/utm_user_profile_socket");
    EXPECT_EQ(visits[1].request, record(16, {{0, 1}, {4, 0x00}, {5, 0xf1}, {6, 0x53}, {7, 0x65}}));
    EXPECT_EQ(visits[2].path, "/dev/utm_app_config_socket");
    EXPECT_EQ(visits[2].request, record(136, {{0, 1}, {8, 0x00}, {9, 0xf1}, {10, 0x53}, {11, 0x65}}));
}

} // namespace
