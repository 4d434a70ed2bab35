#include "kqutm/profile.h"

#include "tests/sandbox/paths.h"
#include "tests/sandbox/profiles.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace {

TEST(flush, deletes_every_profile_in_slot_order)
{
    config_daemons daemons;
    register_ids({{profiles, 9}, {profiles + 3, 2}, {profiles + 255, 5}});
    EXPECT_EQ(utm_user_profile_flush(), 0);
    const std::vector<sim::visit> visits = daemons.visits();
    ASSERT_EQ(visits.size(), 9U);
    for (size_t i = 0; i < visits.size(); i++) {
        const bool user_profile = i % 3 == 2;
        EXPECT_EQ(visits[i].path, change_order[i % 3]);
        EXPECT_EQ(visits[i].request[0], 2);
        EXPECT_EQ(u32_at(visits[i].request, user_profile ? 4 : 8), (std::vector{9U, 2U, 5U})[i / 3]);
    }
    EXPECT_EQ(all_slots(), slots(1280, 0));
}

TEST(flush, empty_registry_sends_nothing)
{
    config_daemons daemons;
    EXPECT_EQ(utm_user_profile_flush(), 0);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(flush, negative_ids_are_left_alone)
{
    config_daemons daemons;
    register_ids({{profiles, 0x80000000}, {profiles + 1, 3}});
    EXPECT_EQ(utm_user_profile_flush(), 0);
    EXPECT_EQ(daemons.told(), change_order);
    EXPECT_EQ(slot(profiles), 0x80000000U);
}

TEST(flush, refusals_are_not_reported)
{
    config_daemons daemons({.cf = 1, .app = 1, .user_profile = 1});
    register_ids({{profiles, 7}, {profiles + 1, 8}});
    EXPECT_EQ(utm_user_profile_flush(), 0);
    EXPECT_EQ(daemons.told().size(), 6U);
    EXPECT_TRUE(is_registered(7));
    EXPECT_TRUE(is_registered(8));
}

TEST(flush, silence_is_not_reported)
{
    config_daemons daemons;
    register_ids({{profiles, 7}, {profiles + 1, 8}});
    unheard caller(wrap::every);
    EXPECT_EQ(utm_user_profile_flush(), 0);
    EXPECT_EQ(caller.count("select"), 6);
    EXPECT_TRUE(is_registered(7));
    EXPECT_TRUE(is_registered(8));
    EXPECT_TRUE(appcf_log().ends_with(std::string(unanswered) + "delete user profile fail(id = 8)\n"));
}

TEST(flush, lock_is_free_between_the_deletions)
{
    config_daemons daemons;
    register_ids({{profiles, 7}, {profiles + 1, 8}});
    wrap::plan plan;
    EXPECT_EQ(utm_user_profile_flush(), 0);
    EXPECT_EQ(plan.count("semop"), 6) << "snapshot and two deletions, each locked";
    EXPECT_EQ(semaphore_value(), 1);
}

// Deliberate: a flush that cannot lock the registry, or unlock it again, deletes nothing and reports success.
TEST(flush, registry_that_cannot_be_locked_or_unlocked_deletes_nothing)
{
    config_daemons daemons;
    register_ids({{profiles, 7}});
    for (const char* function : {"ftok", "semget", "semop"}) {
        wrap::plan plan;
        plan.fail(function, wrap::every, EACCES);
        EXPECT_EQ(utm_user_profile_flush(), 0) << function;
    }
    wrap::plan plan;
    plan.fail("semop", 2, EIDRM);
    EXPECT_EQ(utm_user_profile_flush(), 0);
    EXPECT_EQ(plan.count("semop"), 2);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_TRUE(is_registered(7));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(flush, registry_that_cannot_be_attached)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("shmat", 1, ENOMEM);
    EXPECT_EQ(utm_user_profile_flush(), -1);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(appcf_log(), attach_failed);
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(flush, does_not_clear_the_registry)
{
    config_daemons daemons;
    set_slots({{profiles, 7}, {cf_policies + 3, 20}});
    EXPECT_EQ(utm_user_profile_flush(), 0);
    EXPECT_EQ(daemons.told(), change_order);
    EXPECT_EQ(slot(cf_policies + 3), 20U);
    EXPECT_FALSE(exists(registry_marker));
}

} // namespace
