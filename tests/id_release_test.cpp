#include "kqutm/registry.h"

#include "tests/sandbox/files.h"
#include "tests/sandbox/id_tables.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <sys/sem.h>

namespace {

TEST(reset_utm_id_shm, frees_the_first_slot_with_the_id)
{
    set_slots({{profiles + 3, 8}, {profiles + 9, 8}, {profiles + 4, 9}});
    EXPECT_EQ(reset_utm_id_shm(8, UTM_ID_USER_PROFILE), 0);
    EXPECT_EQ(slot(profiles + 3), 0U);
    EXPECT_EQ(slot(profiles + 9), 8U);
    EXPECT_EQ(slot(profiles + 4), 9U);
}

TEST(reset_utm_id_shm, profile_leaves_its_bindings_and_the_policies)
{
    set_slots({{profiles + 3, 8}, {cf_bindings + 3, 20}, {app_bindings + 3, 30}, {cf_policies, 8}, {app_policies, 8}});
    EXPECT_EQ(reset_utm_id_shm(8, UTM_ID_USER_PROFILE), 0);
    EXPECT_EQ(slot(cf_bindings + 3), 20U);
    EXPECT_EQ(slot(app_bindings + 3), 30U);
    EXPECT_EQ(slot(cf_policies), 8U);
    EXPECT_EQ(slot(app_policies), 8U);
}

// Deliberate: releasing a policy frees its number in both policy tables.
TEST(reset_utm_id_shm, policy_is_freed_in_both_policy_tables)
{
    for (uint32_t kind : {2U, 3U, 0U, 99U}) {
        set_slots({{profiles, 8}, {cf_policies + 1, 8}, {cf_policies + 2, 8}, {app_policies + 200, 8}});
        EXPECT_EQ(reset_utm_id_shm(8, kind), 0);
        EXPECT_EQ(slot(profiles), 8U);
        EXPECT_EQ(slot(cf_policies + 1), 0U);
        EXPECT_EQ(slot(cf_policies + 2), 8U);
        EXPECT_EQ(slot(app_policies + 200), 0U);
    }
}

TEST(reset_utm_id_shm, policy_in_one_table_alone_is_freed_there)
{
    set_slots({{app_policies + 7, 8}});
    EXPECT_EQ(reset_utm_id_shm(8, UTM_ID_CF_POLICY), 0);
    EXPECT_EQ(taken_slots(), 0U);
}

TEST(reset_utm_id_shm, unknown_id_is_0_without_a_trace)
{
    for (uint32_t kind : {1U, 2U, 3U})
        EXPECT_EQ(reset_utm_id_shm(8, kind), 0);
    EXPECT_FALSE(exists("/tmp/utm_log"));
    EXPECT_EQ(semaphore_value(), 1);
}

// Deliberate: releasing succeeds silently when the registry cannot be locked.
TEST(reset_utm_id_shm, registry_that_cannot_be_locked_frees_nothing)
{
    set_slots({{profiles, 8}});
    for (const char* function : {"ftok", "semget", "semop"}) {
        wrap::plan plan;
        plan.fail(function, wrap::every, EACCES);
        EXPECT_EQ(reset_utm_id_shm(8, UTM_ID_USER_PROFILE), 0) << function;
    }
    EXPECT_EQ(slot(profiles), 8U);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(reset_utm_id_shm, fails_without_the_segment)
{
    wrap::plan plan;
    plan.fail("shmat", 1, EMFILE);
    EXPECT_EQ(reset_utm_id_shm(5, UTM_ID_CF_POLICY), -1);
    EXPECT_EQ(errno, EMFILE);
    EXPECT_EQ(appcf_log(), attach_failed);
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(reset_utm_id_shm, failed_unlocking_does_not_count)
{
    for (uint32_t kind : {1U, 2U, 3U}) {
        ASSERT_EQ(semctl(semaphore(), 0, SETVAL, 1L), 0);
        set_slots({{profiles, 5}, {cf_policies, 5}, {app_policies, 5}});
        wrap::plan plan;
        plan.fail("semop", 2, EIDRM);
        EXPECT_EQ(reset_utm_id_shm(5, kind), 0);
        EXPECT_EQ(plan.count("semop"), 2);
        EXPECT_EQ(slot(kind == UTM_ID_USER_PROFILE ? profiles : cf_policies), 0U);
    }
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

} // namespace
