#include "kqutm/app.h"
#include "kqutm/cf.h"
#include "kqutm/profile.h"

#include "tests/sandbox/paths.h"
#include "tests/sandbox/rules.h"

#include <cerrno>
#include <ctime>
#include <gtest/gtest.h>

namespace {

TEST(get_unique_id, requested_id_takes_the_lowest_slot_of_its_table)
{
    for (const auto& table : tables) {
        const uint32_t id = 1000 + table.kind % 1000;
        set_slots({{table.begin, 0}});
        EXPECT_EQ(get_unique_id(id, table.kind), static_cast<int>(id));
        EXPECT_EQ(slot(table.begin), id);
    }
    EXPECT_EQ(taken_slots(), 3U);
    EXPECT_EQ(semaphore_value(), 1);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(get_unique_id, does_not_clear_the_registry)
{
    set_slots({{profiles, 9}});
    EXPECT_EQ(get_unique_id(5, UTM_ID_USER_PROFILE), 5);
    EXPECT_EQ(slot(profiles), 9U);
    EXPECT_FALSE(exists(registry_marker));
}

TEST(get_unique_id, taken_id_is_refused_and_nothing_changes)
{
    ASSERT_EQ(get_unique_id(5, UTM_ID_USER_PROFILE), 5);
    const slots before = all_slots();
    EXPECT_EQ(get_unique_id(5, UTM_ID_USER_PROFILE), -1);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(all_slots(), before);
    EXPECT_EQ(get_unique_id(5, UTM_ID_CF_POLICY), 5) << "the kinds are numbered apart";
    EXPECT_EQ(get_unique_id(5, UTM_ID_APP_POLICY), 5);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(get_unique_id, hole_is_filled_before_the_end)
{
    set_slots({{profiles, 1}, {profiles + 1, 2}, {profiles + 2, 3}, {profiles + 3, 4}, {profiles + 4, 5}});
    ASSERT_EQ(reset_utm_id_shm(4, UTM_ID_USER_PROFILE), 0);
    EXPECT_EQ(get_unique_id(6, UTM_ID_USER_PROFILE), 6);
    EXPECT_EQ(slot(profiles + 3), 6U);
    EXPECT_EQ(slot(profiles + 5), 0U);
}

TEST(get_unique_id, last_slot_is_used_and_the_257th_id_refused)
{
    for (size_t table : {profiles, cf_policies, app_policies}) {
        set_slots(full(table));
        const uint32_t kind = static_cast<uint32_t>(table / 512 + 1);
        set_slots({{table + 255, 0}});
        EXPECT_EQ(get_unique_id(999, kind), 999);
        EXPECT_EQ(slot(table + 255), 999U);
        EXPECT_EQ(get_unique_id(1000, kind), -1);
        EXPECT_EQ(errno, ENOSPC);
        EXPECT_EQ(get_unique_id(0, kind), -1);
        EXPECT_EQ(errno, ENOSPC);
    }
}

TEST(get_unique_id, taken_id_of_a_full_table_is_taken_rather_than_full)
{
    set_slots(full(profiles));
    EXPECT_EQ(get_unique_id(256, UTM_ID_USER_PROFILE), -1);
    EXPECT_EQ(errno, EEXIST);
}

TEST(get_unique_id, id_of_2_to_the_31_reads_as_negative)
{
    EXPECT_EQ(get_unique_id(0x80000000, UTM_ID_USER_PROFILE), INT32_MIN);
    EXPECT_EQ(slot(profiles), 0x80000000U);
}

TEST(get_unique_id, chosen_id_is_the_time)
{
    const time_t before = time(nullptr);
    const int id = get_unique_id(0, UTM_ID_USER_PROFILE);
    EXPECT_GE(id, before);
    EXPECT_LE(id, time(nullptr));
    EXPECT_EQ(slot(profiles), static_cast<uint32_t>(id));
}

TEST(get_unique_id, two_chosen_ids_of_a_kind_are_a_second_apart)
{
    const int first = get_unique_id(0, UTM_ID_USER_PROFILE);
    const int second = get_unique_id(0, UTM_ID_USER_PROFILE);
    EXPECT_GT(second, first);
    EXPECT_GE(time(nullptr), second) << "returned before the clock had moved on";
}

TEST(get_unique_id, chosen_ids_of_different_kinds_may_be_equal)
{
    wrap::plan plan;
    plan.answer("time", wrap::every, 1700000000);
    for (uint32_t kind : {1U, 2U, 3U})
        EXPECT_EQ(get_unique_id(0, kind), 1700000000);
}

// Deliberate: spins under the lock, without sleeping, until the clock shows a second that is not taken.
TEST(get_unique_id, spins_under_the_lock_without_sleeping)
{
    set_slots({{profiles + 200, 1000}, {profiles + 255, 1001}});
    wrap::plan plan;
    for (int call = 1; call <= 5; call++)
        plan.answer("time", call, call < 4 ? 1000 : 1001);
    plan.answer("time", 6, 1002);
    plan.before("time", 6, [] { EXPECT_EQ(semaphore_value(), 0); });
    EXPECT_EQ(get_unique_id(0, UTM_ID_USER_PROFILE), 1002);
    EXPECT_EQ(plan.count("time"), 6);
    EXPECT_EQ(plan.count("usleep"), 0);
    EXPECT_EQ(plan.count("semop"), 2);
    EXPECT_EQ(slot(profiles), 1002U);
}

TEST(get_unique_id, time_is_cut_to_32_bits)
{
    wrap::plan plan;
    plan.answer("time", 1, 0x100000007);
    EXPECT_EQ(get_unique_id(0, UTM_ID_USER_PROFILE), 7);
}

TEST(get_unique_id, time_of_0_is_never_handed_out)
{
    set_slots(full(profiles));
    set_slots({{profiles + 255, 0}});
    wrap::plan plan;
    plan.answer("time", 1, 0x100000000);
    plan.answer("time", 2, 0x100001000);
    EXPECT_EQ(get_unique_id(0, UTM_ID_USER_PROFILE), 0x1000);
    EXPECT_EQ(slot(profiles + 255), 0x1000U);
}

TEST(get_unique_id, full_table_at_time_0_is_full)
{
    set_slots(full(profiles));
    wrap::plan plan;
    plan.answer("time", wrap::every, 0x100000000);
    EXPECT_EQ(get_unique_id(0, UTM_ID_USER_PROFILE), -1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(plan.count("time"), 1);
}

TEST(get_unique_id, fails_without_the_lock)
{
    for (const char* function : {"ftok", "semget", "semop"}) {
        wrap::plan plan;
        plan.fail(function, wrap::every, EACCES);
        EXPECT_EQ(get_unique_id(5, UTM_ID_USER_PROFILE), -1) << function;
        EXPECT_EQ(errno, EACCES);
        EXPECT_EQ(plan.count("shmget"), 0);
    }
    EXPECT_EQ(taken_slots(), 0U);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(get_unique_id, fails_without_the_segment)
{
    wrap::plan plan;
    plan.fail("shmat", 1, ENOMEM);
    EXPECT_EQ(get_unique_id(5, UTM_ID_USER_PROFILE), -1);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(appcf_log(), attach_failed);
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(get_unique_id, failed_unlocking_does_not_count)
{
    wrap::plan plan;
    plan.fail("semop", 2, EIDRM);
    EXPECT_EQ(get_unique_id(5, UTM_ID_USER_PROFILE), 5);
    EXPECT_EQ(plan.count("semop"), 2);
    EXPECT_EQ(slot(profiles), 5U);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

struct creation {
    int32_t (*run)();
    size_t table;
};

constexpr creation creations_of_minus_1[] = {
    {[] { return utm_user_profile_create(-1); }, profiles},
    {[] { return utm_cf_policy_create(-1); }, cf_policies},
    {[] { return utm_app_policy_create(0xffffffff); }, app_policies},
};

// The identifier that reads as a failure, even where it was reserved.
TEST(create_of_minus_1, keeps_the_cause_of_its_failure)
{
    config_daemons daemons;
    register_ids({});
    for (const auto& [run, table] : creations_of_minus_1) {
        expect_failure(run(), EINVAL);
        EXPECT_EQ(slot(table), 0xffffffff);
        expect_failure(run(), EEXIST);
        set_slots(full(table));
        expect_failure(run(), ENOSPC);
        wrap::plan plan;
        plan.fail("semop", wrap::every, EACCES);
        expect_failure(run(), EACCES);
    }
    EXPECT_EQ(daemons.told(), paths{});
}

} // namespace
