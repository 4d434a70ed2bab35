#include "kqutm/profile.h"

#include "tests/sandbox/paths.h"
#include "tests/sandbox/profiles.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace {

TEST(delete_profile, tells_three_daemons_and_frees_everything_bound)
{
    config_daemons daemons;
    register_ids({{profiles + 4, 7},
                  {profiles + 5, 8},
                  {cf_bindings + 4, 20},
                  {cf_bindings + 5, 20},
                  {app_bindings + 4, 30},
                  {cf_policies, 20},
                  {cf_policies + 100, 21},
                  {app_policies + 1, 30},
                  {app_policies + 2, 20}});
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_EQ(daemons.told(), change_order);
    slots expected(1280, 0);
    expected[profiles + 5] = 8;
    expected[cf_bindings + 5] = 20; // another profile's binding stays, though its policy is gone
    expected[cf_policies + 100] = 21;
    expected[app_policies + 2] = 20;
    EXPECT_EQ(all_slots(), expected);
    EXPECT_EQ(semaphore_value(), 1);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(delete_profile, bound_policies_are_freed_in_every_slot)
{
    config_daemons daemons;
    register_ids({{profiles, 7}, {cf_bindings, 20}, {app_bindings, 30}});
    for (size_t i : {0U, 3U, 128U, 255U})
        set_slots({{cf_policies + i, 20}, {app_policies + i, 30}});
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_EQ(all_slots(), slots(1280, 0));
}

TEST(delete_profile, bound_policy_1_is_freed)
{
    config_daemons daemons;
    register_ids({{profiles, 7}, {cf_bindings, 1}, {app_bindings, 1}, {cf_policies, 1}, {app_policies, 1}});
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_EQ(all_slots(), slots(1280, 0));
}

TEST(delete_profile, without_bound_policies_the_tables_are_not_touched)
{
    config_daemons daemons;
    register_ids({{profiles, 7}, {cf_policies + 9, 20}, {app_policies + 9, 30}});
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_EQ(slot(cf_policies + 9), 20U);
    EXPECT_EQ(slot(app_policies + 9), 30U);
}

TEST(delete_profile, binding_of_2_to_the_31_counts_as_none)
{
    config_daemons daemons;
    register_ids({{profiles, 7}, {cf_bindings, 0x80000000}, {cf_policies, 0x80000000}});
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_EQ(slot(profiles), 0U);
    EXPECT_EQ(slot(cf_bindings), 0x80000000U);
    EXPECT_EQ(slot(cf_policies), 0x80000000U);
}

TEST(delete_profile, first_slot_with_the_id_is_meant)
{
    config_daemons daemons;
    register_ids({{profiles + 1, 7}, {profiles + 2, 7}});
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_EQ(slot(profiles + 1), 0U);
    EXPECT_EQ(slot(profiles + 2), 7U);
}

TEST(delete_profile, unknown_id_is_not_sent)
{
    config_daemons daemons;
    register_ids({{profiles, 7}});
    EXPECT_EQ(utm_user_profile_delete(8), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), "delete user profile fail(id(8) not found)\n");
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(delete_profile, unknown_negative_id_is_logged_as_passed)
{
    EXPECT_EQ(utm_user_profile_delete(-3), -1);
    EXPECT_EQ(appcf_log(), "delete user profile fail(id(-3) not found)\n");
}

constexpr char delete_failed[] = "delete user profile fail(id = 7)\n";

void register_a_bound_profile()
{
    register_ids({{profiles, 7}, {cf_bindings, 20}, {app_bindings, 30}, {cf_policies + 1, 20}, {app_policies + 1, 30}});
}

// Deliberate: the profile's slot is freed as soon as one of the two daemons has accepted.
TEST(delete_profile, slot_is_freed_when_the_content_filter_alone_accepts)
{
    config_daemons daemons({.app = 3});
    register_a_bound_profile();
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_EQ(daemons.told(), change_order);
    EXPECT_EQ(slot(profiles), 0U);
    EXPECT_EQ(slot(cf_bindings), 0U);
    EXPECT_EQ(slot(cf_policies + 1), 0U);
    EXPECT_EQ(slot(app_bindings), 30U);
    EXPECT_EQ(slot(app_policies + 1), 30U);
    EXPECT_EQ(appcf_log(), refused(3) + delete_failed);
}

TEST(delete_profile, slot_is_freed_when_the_application_daemon_alone_accepts)
{
    config_daemons daemons({.cf = 3});
    register_a_bound_profile();
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_EQ(slot(profiles), 0U);
    EXPECT_EQ(slot(cf_bindings), 20U);
    EXPECT_EQ(slot(cf_policies + 1), 20U);
    EXPECT_EQ(slot(app_bindings), 0U);
    EXPECT_EQ(slot(app_policies + 1), 0U);
    EXPECT_EQ(appcf_log(), refused(3) + delete_failed);
}

TEST(delete_profile, slot_stays_when_both_refuse)
{
    config_daemons daemons({.cf = 3, .app = 4});
    register_a_bound_profile();
    const slots before = all_slots();
    EXPECT_EQ(utm_user_profile_delete(7), 0) << "the user-profile daemon decides";
    EXPECT_EQ(daemons.told(), change_order);
    EXPECT_EQ(all_slots(), before);
    EXPECT_EQ(appcf_log(), refused(3) + delete_failed + refused(4) + delete_failed);
}

TEST(delete_profile, refusal_of_the_user_profile_daemon_is_the_result)
{
    config_daemons daemons({.user_profile = 6});
    register_a_bound_profile();
    EXPECT_EQ(utm_user_profile_delete(7), -1);
    EXPECT_EQ(errno, EREMOTEIO);
    EXPECT_EQ(slot(profiles), 0U);
    EXPECT_EQ(appcf_log(), refused(6) + delete_failed);
}

TEST(delete_profile, absent_daemons_do_not_stop_it)
{
    config_daemons daemons({.cf = absent, .app = absent, .user_profile = absent});
    register_a_bound_profile();
    impatient caller;
    EXPECT_EQ(utm_user_profile_delete(7), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(slot(profiles), 7U);
    EXPECT_EQ(appcf_log(),
              unreachable() + delete_failed + unreachable() + delete_failed + unreachable() + delete_failed);
}

// A deletion that the nth daemon does not answer: its result, and what stays in the registry.
struct unanswered_deletion {
    int nth;
    int32_t result;
    std::map<size_t, uint32_t> left;
};

TEST(delete_profile, silence_counts_as_a_refusal)
{
    const unanswered_deletion deletions[] = {
        {1, 0, {{cf_bindings, 20}, {cf_policies + 1, 20}}},
        {2, 0, {{app_bindings, 30}, {app_policies + 1, 30}}},
        {3, -1, {}},
    };
    config_daemons daemons;
    std::string expected_log;
    for (const auto& [nth, result, left] : deletions) {
        register_a_bound_profile();
        unheard caller(nth);
        EXPECT_EQ(utm_user_profile_delete(7), result) << nth;
        EXPECT_EQ(caller.count("select"), 3);
        slots expected(1280, 0);
        for (const auto& [number, value] : left)
            expected[number] = value;
        EXPECT_EQ(all_slots(), expected) << nth;
        expected_log += unanswered + std::string(delete_failed);
    }
    EXPECT_EQ(appcf_log(), expected_log);
}

TEST(delete_profile, silent_daemons_do_not_stop_it)
{
    config_daemons daemons;
    register_a_bound_profile();
    const slots before = all_slots();
    unheard caller(wrap::every);
    EXPECT_EQ(utm_user_profile_delete(7), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_EQ(all_slots(), before);
    EXPECT_EQ(semaphore_value(), 1);
    const std::string line = unanswered + std::string(delete_failed);
    EXPECT_EQ(appcf_log(), line + line + line);
}

TEST(delete_profile, registry_changes_before_the_next_daemon_is_told)
{
    register_a_bound_profile();
    const slots before = all_slots();
    slots between = before;
    between[profiles] = between[cf_bindings] = between[cf_policies + 1] = 0;
    sim::scripted_daemon content_filter(cf_path, look_and_answer([&] { EXPECT_EQ(all_slots(), before); }));
    sim::scripted_daemon app(app_path, look_and_answer([&] { EXPECT_EQ(all_slots(), between); }));
    sim::scripted_daemon user_profile(user_profile_path,
                                      look_and_answer([] { EXPECT_EQ(all_slots(), slots(1280, 0)); }));
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_EQ(user_profile.requests().size(), 1U);
}

TEST(delete_profile, policies_that_were_bound_at_the_start_are_freed)
{
    register_a_bound_profile();
    set_slots({{cf_policies + 2, 21}, {app_policies + 2, 31}});
    config_daemons others({.cf = absent});
    sim::scripted_daemon content_filter(cf_path, look_and_answer([] {
                                            set_slots({{cf_bindings, 21}, {app_bindings, 31}});
                                        }));
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    slots expected(1280, 0);
    expected[cf_policies + 2] = 21;
    expected[app_policies + 2] = 31;
    EXPECT_EQ(all_slots(), expected);
}

TEST(delete_profile, lock_is_held_until_the_last_answer)
{
    config_daemons daemons;
    register_ids({{profiles, 7}});
    wrap::plan plan;
    std::vector<int> values;
    plan.before("read", wrap::every, [&] { values.push_back(semaphore_value()); });
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_EQ(values, (std::vector{0, 0, 0}));
    EXPECT_EQ(plan.count("semop"), 2);
    EXPECT_EQ(plan.count("shmat"), 1);
}

TEST(delete_profile, registry_that_cannot_be_locked_leaves_no_line)
{
    config_daemons daemons;
    register_ids({{profiles, 7}});
    for (const char* function : {"ftok", "semget", "semop"}) {
        wrap::plan plan;
        plan.fail(function, wrap::every, EACCES);
        EXPECT_EQ(utm_user_profile_delete(7), -1) << function;
        EXPECT_EQ(errno, EACCES);
        EXPECT_EQ(plan.count("shmget"), 0);
    }
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(delete_profile, registry_that_cannot_be_attached)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("shmat", 1, ENOMEM);
    EXPECT_EQ(utm_user_profile_delete(7), -1);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), attach_failed);
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(delete_profile, failed_unlocking_does_not_count)
{
    config_daemons daemons;
    register_ids({{profiles, 7}});
    wrap::plan plan;
    plan.fail("semop", 2, EIDRM);
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_EQ(plan.count("semop"), 2);
    EXPECT_FALSE(is_registered(7));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(delete_profile, does_not_clear_the_registry)
{
    config_daemons daemons;
    set_slots({{profiles, 7}, {profiles + 1, 8}});
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_TRUE(is_registered(8));
    EXPECT_FALSE(exists(registry_marker));
}

} // namespace
