#include "kqutm/profile.h"

#include "tests/sandbox/paths.h"
#include "tests/sandbox/profiles.h"

#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

TEST(create, tells_three_daemons_and_returns_the_id)
{
    config_daemons daemons;
    EXPECT_EQ(utm_user_profile_create(7), 7);
    EXPECT_EQ(daemons.told(), create_order);
    EXPECT_TRUE(is_registered(7));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(create, chosen_id_is_the_time)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.answer("time", wrap::every, 1700000000);
    EXPECT_EQ(utm_user_profile_create(0), 1700000000);
    EXPECT_EQ(u32_at(daemons.visits()[0].request, 8), 1700000000U);
    EXPECT_EQ(u32_at(daemons.visits()[1].request, 4), 1700000000U);
    EXPECT_EQ(u32_at(daemons.visits()[2].request, 8), 1700000000U);
}

TEST(create, first_use_after_boot_clears_the_registry)
{
    config_daemons daemons;
    set_slots({{profiles, 5}, {cf_bindings, 6}, {app_policies + 255, 7}});
    EXPECT_EQ(utm_user_profile_create(8), 8);
    slots expected(1280, 0);
    expected[profiles] = 8;
    EXPECT_EQ(all_slots(), expected);
}

TEST(create, removed_marker_clears_the_registry_again)
{
    config_daemons daemons;
    ASSERT_EQ(utm_user_profile_create(5), 5);
    std::filesystem::remove(registry_marker);
    EXPECT_EQ(utm_user_profile_create(6), 6);
    EXPECT_FALSE(is_registered(5));
    EXPECT_EQ(slot(profiles), 6U);
}

TEST(create, finds_the_bindings_that_an_earlier_profile_left)
{
    config_daemons daemons;
    register_ids({{cf_bindings, 20}, {app_bindings, 30}});
    ASSERT_EQ(utm_user_profile_create(5), 5);
    EXPECT_EQ(slot(cf_bindings), 20U);
    EXPECT_EQ(slot(app_bindings), 30U);
}

// Deliberate: all three daemons are always told, each refusal releases the identifier, and the application daemon alone
// decides the result. An identifier that an earlier refusal released is still returned.
TEST(create, id_that_the_content_filter_refused_is_returned_released)
{
    config_daemons daemons({.cf = 5});
    EXPECT_EQ(utm_user_profile_create(7), 7);
    EXPECT_EQ(daemons.told(), create_order);
    EXPECT_FALSE(is_registered(7));
    EXPECT_EQ(appcf_log(), refused(5));
}

TEST(create, id_is_returned_released_when_the_content_filter_is_absent)
{
    config_daemons daemons({.cf = absent});
    impatient caller;
    EXPECT_EQ(utm_user_profile_create(7), 7);
    EXPECT_EQ(daemons.told(), (paths{user_profile_path, app_path}));
    EXPECT_FALSE(is_registered(7));
    EXPECT_EQ(appcf_log(), unreachable());
}

TEST(create, id_that_the_user_profile_daemon_refused_is_returned_released)
{
    config_daemons daemons({.user_profile = 2});
    EXPECT_EQ(utm_user_profile_create(7), 7);
    EXPECT_EQ(daemons.told(), create_order);
    EXPECT_FALSE(is_registered(7));
    EXPECT_EQ(appcf_log(), refused(2));
}

TEST(create, refusal_of_the_application_daemon_is_the_result)
{
    config_daemons daemons({.app = 9});
    EXPECT_EQ(utm_user_profile_create(7), -1);
    EXPECT_EQ(errno, EREMOTEIO);
    EXPECT_EQ(daemons.told(), create_order);
    EXPECT_FALSE(is_registered(7));
    EXPECT_EQ(appcf_log(), refused(9));
}

TEST(create, absence_of_the_application_daemon_is_the_result)
{
    config_daemons daemons({.app = absent});
    impatient caller;
    EXPECT_EQ(utm_user_profile_create(7), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(daemons.told(), (paths{cf_path, user_profile_path}));
    EXPECT_FALSE(is_registered(7));
    EXPECT_EQ(appcf_log(), unreachable());
}

TEST(create, id_that_one_of_the_first_two_does_not_answer_is_returned_released)
{
    config_daemons daemons;
    for (int nth : {1, 2}) {
        unheard caller(nth);
        EXPECT_EQ(utm_user_profile_create(7), 7) << nth;
        EXPECT_EQ(caller.count("select"), 3);
        EXPECT_FALSE(is_registered(7));
    }
    EXPECT_EQ(appcf_log(), std::string(unanswered) + unanswered);
}

TEST(create, silence_of_the_application_daemon_is_the_result)
{
    config_daemons daemons;
    unheard caller(3);
    EXPECT_EQ(utm_user_profile_create(7), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_FALSE(is_registered(7));
    EXPECT_EQ(appcf_log(), unanswered);
}

TEST(create, every_refusal_releases_the_id_again)
{
    config_daemons daemons({.cf = 1, .app = 3, .user_profile = 4});
    wrap::plan plan;
    EXPECT_EQ(utm_user_profile_create(7), -1);
    EXPECT_EQ(daemons.told(), create_order);
    EXPECT_EQ(plan.count("semop"), 2 + 2 + 3 * 2) << "clearing, reserving and three releases, each locked";
    EXPECT_EQ(appcf_log(), refused(1) + refused(4) + refused(3));
}

TEST(create, id_that_the_content_filter_refused_is_released_before_the_next_daemon_is_told)
{
    config_daemons others({.cf = 5, .user_profile = absent});
    sim::scripted_daemon user_profile(user_profile_path, look_and_answer([] { EXPECT_FALSE(is_registered(7)); }));
    EXPECT_EQ(utm_user_profile_create(7), 7);
    EXPECT_EQ(user_profile.requests().size(), 1U);
}

TEST(create, id_that_the_user_profile_daemon_refused_is_released_before_the_next_daemon_is_told)
{
    config_daemons others({.app = absent, .user_profile = absent});
    sim::scripted_daemon user_profile(user_profile_path, look_and_answer([] { EXPECT_TRUE(is_registered(7)); }, 5));
    sim::scripted_daemon app(app_path, look_and_answer([] { EXPECT_FALSE(is_registered(7)); }));
    EXPECT_EQ(utm_user_profile_create(7), 7);
    EXPECT_EQ(app.requests().size(), 1U);
}

TEST(create, id_that_is_taken)
{
    config_daemons daemons;
    register_ids({{profiles, 7}});
    EXPECT_EQ(utm_user_profile_create(7), -1);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_TRUE(is_registered(7));
    EXPECT_EQ(appcf_log(), "[utm_user_profile_create]can not get unique id\n");
}

TEST(create, registry_that_is_full)
{
    config_daemons daemons;
    register_ids(full(profiles));
    EXPECT_EQ(utm_user_profile_create(1000), -1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), "[utm_user_profile_create]can not get unique id\n");
}

TEST(create, negative_id_is_reserved_and_refused)
{
    config_daemons daemons;
    EXPECT_EQ(utm_user_profile_create(-5), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_TRUE(is_registered(static_cast<uint32_t>(-5)));
    EXPECT_EQ(appcf_log(), "[utm_user_profile_create]can not get unique id\n");
}

TEST(create, registry_that_cannot_be_initialised_leaves_no_line_of_its_own)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("open", 1, EROFS);
    EXPECT_EQ(utm_user_profile_create(7), -1);
    EXPECT_EQ(errno, EROFS);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), "open /tmp/utm_user_profile_shm fail\n");
}

TEST(create, registry_that_cannot_be_locked)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("semop", wrap::every, EACCES);
    EXPECT_EQ(utm_user_profile_create(7), -1);
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), "[utm_user_profile_create]can not get unique id\n");
}

TEST(create, registry_that_cannot_be_attached)
{
    config_daemons daemons;
    write_file(registry_marker, "");
    wrap::plan plan;
    plan.fail("shmat", wrap::every, ENOMEM);
    EXPECT_EQ(utm_user_profile_create(7), -1);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(appcf_log(), std::string(attach_failed) + "[utm_user_profile_create]can not get unique id\n");
}

} // namespace
