#include "kqutm/registry.h"

#include "tests/sandbox/files.h"
#include "tests/sandbox/id_tables.h"
#include "tests/sandbox/paths.h"
#include "tests/wrap/wrap.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/sem.h>
#include <thread>

namespace {

TEST(check_shm_utm_id, registered_id_is_found_in_its_own_table)
{
    for (const auto& table : tables) {
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
    write_file(registry_marker, "");
    EXPECT_EQ(check_shm_utm_id(5, UTM_ID_USER_PROFILE), -1);
    EXPECT_EQ(all_slots(), slots(1280, 0));
}

TEST(check_shm_utm_id, id_0_is_found_while_a_slot_is_free)
{
    for (uint32_t kind : {1U, 2U, 3U})
        EXPECT_EQ(check_shm_utm_id(0, kind), 0);
    set_slots(full(profiles));
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

TEST(check_shm_utm_id, failed_unlocking_does_not_count)
{
    set_slots({{profiles, 5}});
    wrap::plan plan;
    plan.fail("semop", 2, EIDRM);
    EXPECT_EQ(check_shm_utm_id(5, UTM_ID_USER_PROFILE), 0);
    EXPECT_EQ(plan.count("semop"), 2);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

} // namespace
