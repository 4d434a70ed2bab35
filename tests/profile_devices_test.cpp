#include "kqutm/profile.h"

#include "tests/sandbox/paths.h"
#include "tests/sandbox/profiles.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace {

constexpr uint8_t mac[] = {0x00, 0xff, 0x10, 0x20, 0x00, 0x01};

struct device_operation {
    int32_t (*run)(int32_t id, const uint8_t* mac);
    uint8_t code;
    const char* refused;
    const char* refused_by_application;
};
constexpr device_operation device_operations[] = {
    {utm_user_profile_add_dev, 3, "add mac to user profile fail(id = 7)\n",
     "add mac to user profile(app) fail(id = 7)\n"},
    {utm_user_profile_del_dev, 4, "delete mac from user profile fail(id = 7)\n",
     "delete mac from user profile(app) fail(id = 7)\n"},
};

class devices : public testing::TestWithParam<device_operation> {};
INSTANTIATE_TEST_SUITE_P(add_and_delete, devices, testing::ValuesIn(device_operations),
                         [](const auto& test) { return test.param.code == 3 ? "add" : "del"; });

TEST_P(devices, three_daemons_are_told_the_address)
{
    config_daemons daemons;
    register_ids({{profiles, 7}});
    EXPECT_EQ(GetParam().run(7, mac), 0);
    EXPECT_EQ(daemons.told(), change_order);
    for (const sim::visit& visit : daemons.visits()) {
        const size_t id_at = visit.path == user_profile_path ? 4 : 8;
        EXPECT_EQ(visit.request[0], GetParam().code);
        EXPECT_EQ(u32_at(visit.request, id_at), 7U);
        EXPECT_EQ(bytes_of(visit.request.data() + id_at + 4, 6), bytes_of(mac, 6));
    }
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(devices, unknown_profile_is_not_sent)
{
    config_daemons daemons;
    EXPECT_EQ(GetParam().run(7, mac), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), "user profile id(7) not found\n");
}

TEST_P(devices, refusals_of_the_first_two_do_not_count)
{
    config_daemons daemons({.cf = 1, .app = 2});
    register_ids({{profiles, 7}});
    EXPECT_EQ(GetParam().run(7, mac), 0);
    EXPECT_EQ(daemons.told(), change_order);
    EXPECT_EQ(appcf_log(), refused(1) + GetParam().refused + refused(2) + GetParam().refused_by_application);
}

TEST_P(devices, refusal_of_the_user_profile_daemon_is_the_result)
{
    config_daemons daemons({.user_profile = 3});
    register_ids({{profiles, 7}});
    EXPECT_EQ(GetParam().run(7, mac), -1);
    EXPECT_EQ(errno, EREMOTEIO);
    EXPECT_EQ(daemons.told(), change_order);
    EXPECT_EQ(appcf_log(), refused(3) + GetParam().refused);
}

TEST_P(devices, absent_user_profile_daemon_is_the_result)
{
    config_daemons daemons({.user_profile = absent});
    register_ids({{profiles, 7}});
    impatient caller;
    EXPECT_EQ(GetParam().run(7, mac), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(appcf_log(), unreachable() + GetParam().refused);
}

TEST_P(devices, silence_of_the_first_two_does_not_count)
{
    config_daemons daemons;
    register_ids({{profiles, 7}});
    std::string expected;
    for (int nth : {1, 2}) {
        unheard caller(nth);
        EXPECT_EQ(GetParam().run(7, mac), 0) << nth;
        EXPECT_EQ(caller.count("select"), 3);
        expected += std::string(unanswered) + (nth == 1 ? GetParam().refused : GetParam().refused_by_application);
    }
    EXPECT_EQ(appcf_log(), expected);
}

TEST_P(devices, silence_of_the_user_profile_daemon_is_the_result)
{
    config_daemons daemons;
    register_ids({{profiles, 7}});
    unheard caller(3);
    EXPECT_EQ(GetParam().run(7, mac), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_TRUE(is_registered(7));
    EXPECT_EQ(appcf_log(), std::string(unanswered) + GetParam().refused);
}

TEST_P(devices, registry_that_cannot_be_locked_does_not_stop_it)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("semop", 1, EACCES);
    EXPECT_EQ(GetParam().run(7, mac), 0);
    EXPECT_EQ(daemons.told(), change_order);
}

TEST_P(devices, registry_that_cannot_be_attached_stops_it)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("shmat", 1, ENOMEM);
    EXPECT_EQ(GetParam().run(7, mac), -1);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), attach_failed);
}

TEST_P(devices, null_address_is_refused_without_a_trace)
{
    config_daemons daemons;
    register_ids({{profiles, 7}});
    EXPECT_EQ(GetParam().run(7, nullptr), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(devices, registry_is_not_cleared)
{
    config_daemons daemons;
    set_slots({{profiles, 7}, {cf_bindings, 20}, {app_policies + 255, 30}});
    const slots before = all_slots();
    EXPECT_EQ(GetParam().run(7, mac), 0);
    EXPECT_EQ(all_slots(), before);
    EXPECT_FALSE(exists(registry_marker));
}

} // namespace
