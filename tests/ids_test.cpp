#include "kqutm/registry.h"

#include "tests/sandbox/files.h"
#include "tests/sandbox/registry.h"
#include "tests/wrap/wrap.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <gtest/gtest.h>
#include <sys/sem.h>
#include <thread>

namespace {

struct table {
    uint32_t kind;
    size_t begin;
};
constexpr table tables[] = {{UTM_ID_USER_PROFILE, profiles},
                            {UTM_ID_CF_POLICY, cf_policies},
                            {UTM_ID_APP_POLICY, app_policies},
                            {0, app_policies},
                            {4, app_policies},
                            {0xffffffff, app_policies}};

constexpr char attach_failed[] = "attach_utm_id_data_shm() fail\n";

// Registers 256 identifiers from 1 on.
void fill(size_t table)
{
    std::map<size_t, uint32_t> all;
    for (uint32_t i = 0; i < 256; i++)
        all[table + i] = i + 1;
    set_slots(all);
}

size_t taken_slots()
{
    size_t taken = 0;
    for (uint32_t value : all_slots())
        taken += value != 0;
    return taken;
}

TEST(get_unique_id, requested_id_takes_the_lowest_slot_of_its_table)
{
    for (const table& table : tables) {
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
    EXPECT_FALSE(exists("/tmp/utm_user_profile_shm"));
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
        fill(table);
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
    fill(profiles);
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

TEST(check_shm_utm_id, registered_id_is_found_in_its_own_table)
{
    for (const table& table : tables) {
        set_slots({{table.begin + 255, 4711}});
        EXPECT_EQ(check_shm_utm_id(4711, table.kind), 0);
        set_slots({{table.begin + 255, 0}});
        EXPECT_EQ(check_shm_utm_id(4711, table.kind), -1);
    }
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(check_shm_utm_id, unknown_id_is_logged_by_its_kind)
{
    for (uint32_t kind : {1U, 2U, 3U, 0U, 77U}) {
        EXPECT_EQ(check_shm_utm_id(0xffffffff, kind), -1);
        EXPECT_EQ(errno, ENOENT);
    }
    EXPECT_EQ(appcf_log(), "user profile id(-1) not found\n"
                           "cf policy id(-1) not found\n"
                           "app policy id(-1) not found\n"
                           "app policy id(-1) not found\n"
                           "app policy id(-1) not found\n");
}

TEST(check_shm_utm_id, does_not_look_into_the_bindings)
{
    set_slots({{cf_bindings, 6}, {app_bindings, 6}});
    for (uint32_t kind : {1U, 2U, 3U})
        EXPECT_EQ(check_shm_utm_id(6, kind), -1);
}

TEST(check_shm_utm_id, creates_the_segment_empty_and_leaves_the_marker_alone)
{
    write_file("/tmp/utm_user_profile_shm", "");
    EXPECT_EQ(check_shm_utm_id(5, UTM_ID_USER_PROFILE), -1);
    EXPECT_EQ(all_slots(), slots(1280, 0));
}

TEST(check_shm_utm_id, id_0_is_found_while_a_slot_is_free)
{
    for (uint32_t kind : {1U, 2U, 3U})
        EXPECT_EQ(check_shm_utm_id(0, kind), 0);
    fill(profiles);
    EXPECT_EQ(check_shm_utm_id(0, UTM_ID_USER_PROFILE), -1);
}

// Deliberate: validation lets the operation go on when the registry cannot be locked.
TEST(check_shm_utm_id, registry_that_cannot_be_locked_counts_as_found)
{
    for (const char* function : {"ftok", "semget", "semop"}) {
        wrap::plan plan;
        plan.fail(function, wrap::every, EACCES);
        EXPECT_EQ(check_shm_utm_id(5, UTM_ID_USER_PROFILE), 0) << function;
    }
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(check_shm_utm_id, fails_without_the_segment)
{
    wrap::plan plan;
    plan.fail("shmget", wrap::every, ENOSPC);
    EXPECT_EQ(check_shm_utm_id(5, UTM_ID_USER_PROFILE), -1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(appcf_log(), attach_failed);
    EXPECT_EQ(semaphore_value(), 1);
}

std::atomic<int> signals = 0;

// The number of threads and processes that wait for the registry lock becomes this.
void await_waiters(int count)
{
    while (semctl(semaphore(), 0, GETNCNT, 0L) != count)
        std::this_thread::yield();
}

TEST(check_shm_utm_id, wait_that_a_signal_interrupts_is_taken_up_again)
{
    struct sigaction action = {};
    action.sa_handler = [](int) { signals++; };
    sigaction(SIGUSR1, &action, nullptr);
    set_slots({{profiles, 8}});
    ASSERT_EQ(semctl(semaphore(), 0, SETVAL, 0L), 0); // held by another
    std::thread interrupter([waiting = pthread_self()] {
        for (int before = 0; before < 3; before++) {
            await_waiters(1);
            pthread_kill(waiting, SIGUSR1);
            while (signals == before)
                std::this_thread::yield();
        }
        await_waiters(1);
        semctl(semaphore(), 0, SETVAL, 1L);
    });
    wrap::plan plan;
    EXPECT_EQ(check_shm_utm_id(9, UTM_ID_USER_PROFILE), -1) << "an interrupted lock would read as found";
    interrupter.join();
    EXPECT_EQ(signals, 3);
    EXPECT_EQ(plan.count("semop"), 5) << "four to lock, one to unlock";
    EXPECT_EQ(appcf_log(), "user profile id(9) not found\n");
}

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

} // namespace
