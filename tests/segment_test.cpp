#include "registry/registry.h"

#include "tests/sandbox/descriptors.h"
#include "tests/sandbox/disks.h"
#include "tests/sandbox/key_file.h"
#include "tests/sandbox/paths.h"
#include "tests/sandbox/registry.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/sem.h>
#include <sys/stat.h>

namespace {

using calls = std::vector<std::string>;

TEST(registry_semaphore, is_that_of_project_98)
{
    wrap::plan plan;
    const int semid = init_utm_id_config_sem();
    EXPECT_GE(semid, 0);
    EXPECT_EQ(plan.calls("ftok"), calls{"ftok(/usr/lib/libkqutm.so, 98)"});
    EXPECT_EQ(init_utm_id_config_sem(), semid);
    EXPECT_EQ(semctl(semid, 0, GETVAL, 0L), 1);
}

TEST(registry_semaphore, missing_key_file_fails)
{
    missing_key_file installed_nowhere;
    EXPECT_EQ(init_utm_id_config_sem(), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST(registry_semaphore, failed_creation_and_failed_value)
{
    for (const char* function : {"semget", "semctl"}) {
        wrap::plan plan;
        plan.fail(function, wrap::every, ENOSPC);
        EXPECT_LT(init_utm_id_config_sem(), 0) << function;
        EXPECT_EQ(errno, ENOSPC);
    }
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(registry_lock, locks_and_unlocks_with_undo)
{
    const int semid = init_utm_id_config_sem();
    wrap::plan plan;
    EXPECT_EQ(utm_id_config_lock(semid), 0);
    EXPECT_EQ(semctl(semid, 0, GETVAL, 0L), 0);
    EXPECT_EQ(utm_id_config_unlock(semid), 0);
    EXPECT_EQ(semctl(semid, 0, GETVAL, 0L), 1);
    const std::string undo = std::to_string(SEM_UNDO);
    EXPECT_EQ(plan.calls("semop"), (calls{"semop(0, -1, " + undo + ", 1)", "semop(0, 1, " + undo + ", 1)"}));
}

TEST(registry_lock, failures_are_minus_1)
{
    EXPECT_EQ(utm_id_config_lock(-1), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(utm_id_config_unlock(-1), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST(registry_lock, exported_lock_does_not_wait_again_after_a_signal)
{
    const int semid = init_utm_id_config_sem();
    wrap::plan plan;
    plan.fail("semop", 1, EINTR);
    EXPECT_EQ(utm_id_config_lock(semid), -1);
    EXPECT_EQ(errno, EINTR);
    EXPECT_EQ(plan.count("semop"), 1);
}

TEST(registry_segment, is_that_of_project_97)
{
    wrap::plan plan;
    utm_id_registry* ids = attach_utm_id_data_shm();
    ASSERT_NE(ids, nullptr);
    EXPECT_EQ(plan.calls(),
              (calls{"ftok(/usr/lib/libkqutm.so, 97)", "shmget(5120, 0)", "shmget(5120, 1974)", "shmat(0)"}));
    EXPECT_EQ(detach_utm_id_data_shm(ids), 0);
}

TEST(registry_segment, failures_are_null)
{
    for (const char* function : {"shmget", "shmat"}) {
        wrap::plan plan;
        plan.fail(function, wrap::every, ENOMEM);
        EXPECT_EQ(attach_utm_id_data_shm(), nullptr) << function;
        EXPECT_EQ(errno, ENOMEM);
    }
}

// As after an upgrade without a restart.
TEST(registry_segment, replaced_key_file_makes_it_an_empty_one)
{
    ASSERT_EQ(init_utm_id_shm(), 0);
    set_slots({{profiles, 5}});
    {
        replaced_key_file upgraded;
        EXPECT_EQ(check_shm_utm_id(5, UTM_ID_USER_PROFILE), -1);
        EXPECT_EQ(errno, ENOENT);
        EXPECT_EQ(all_slots(), slots(1280, 0));
        EXPECT_EQ(get_unique_id(5, UTM_ID_USER_PROFILE), 5);
    }
    EXPECT_EQ(get_unique_id(5, UTM_ID_USER_PROFILE), -1);
    EXPECT_EQ(errno, EEXIST);
}

TEST(registry_segment, detaching_null_does_nothing)
{
    wrap::plan plan;
    EXPECT_EQ(detach_utm_id_data_shm(nullptr), 0);
    EXPECT_EQ(plan.calls(), calls{});
}

TEST(registry_segment, failed_detaching_is_0_too)
{
    wrap::plan plan;
    plan.fail("shmdt", 1, EINVAL);
    utm_id_registry* ids = attach_utm_id_data_shm();
    EXPECT_EQ(detach_utm_id_data_shm(ids), 0);
    EXPECT_EQ(detach_utm_id_data_shm(ids), 0);
}

TEST(init_registry, first_call_creates_marker_semaphore_and_clear_segment)
{
    set_slots({{0, 11}, {300, 12}, {600, 13}, {900, 14}, {1279, 15}});
    EXPECT_EQ(init_utm_id_shm(), 0);
    EXPECT_EQ(content_of(registry_marker), "");
    EXPECT_TRUE(exists(registry_marker));
    EXPECT_EQ(all_slots(), slots(1280, 0));
    EXPECT_EQ(semaphore_value(), 1);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(init_registry, marker_may_get_descriptor_0)
{
    closed_stdin closed;
    EXPECT_EQ(init_utm_id_shm(), 0);
    EXPECT_TRUE(exists(registry_marker));
}

TEST(init_registry, clears_under_the_lock)
{
    wrap::plan plan;
    plan.before("shmget", 1, [] { EXPECT_EQ(semaphore_value(), 0); });
    EXPECT_EQ(init_utm_id_shm(), 0);
    EXPECT_EQ(plan.count("semop"), 2);
    EXPECT_EQ(plan.count("shmdt"), 1);
}

TEST(init_registry, further_calls_change_nothing)
{
    EXPECT_EQ(init_utm_id_shm(), 0);
    set_slots({{5, 77}});
    wrap::plan plan;
    EXPECT_EQ(init_utm_id_shm(), 0);
    EXPECT_EQ(plan.calls(), calls{"access(/tmp/utm_user_profile_shm, 0)"});
    EXPECT_EQ(slot(5), 77U);
}

TEST(init_registry, removing_the_marker_clears_again)
{
    EXPECT_EQ(init_utm_id_shm(), 0);
    set_slots({{0, 77}, {256, 78}, {1279, 79}});
    std::filesystem::remove(registry_marker);
    EXPECT_EQ(init_utm_id_shm(), 0);
    EXPECT_EQ(all_slots(), slots(1280, 0));
}

TEST(init_registry, marker_that_cannot_be_created)
{
    wrap::plan plan;
    plan.fail("open", 1, EROFS);
    EXPECT_EQ(init_utm_id_shm(), -1);
    EXPECT_EQ(errno, EROFS);
    EXPECT_EQ(appcf_log(), "open /tmp/utm_user_profile_shm fail\n");
    EXPECT_EQ(plan.count("semget"), 0);
}

TEST(init_registry, tmp_that_cannot_be_written_fails_without_a_trace)
{
    {
        read_only_folder tmp("/tmp");
        EXPECT_EQ(init_utm_id_shm(), -1);
        EXPECT_EQ(errno, EROFS);
    }
    EXPECT_FALSE(exists(registry_marker));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(init_registry, marker_is_opened_as_a_plus)
{
    wrap::plan plan;
    EXPECT_EQ(init_utm_id_shm(), 0);
    const std::string flags = std::to_string(O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC);
    EXPECT_EQ(plan.calls("open"), calls{"open(/tmp/utm_user_profile_shm, " + flags + ", 438)"});
}

// Deliberate: the marker stands now, so a registry that cannot be locked stays as it is, and that is no failure.
TEST(init_registry, registry_that_cannot_be_locked_stays_as_it_is)
{
    for (const char* function : {"ftok", "semget", "semop"}) {
        set_slots({{7, 70}});
        std::filesystem::remove(registry_marker);
        {
            wrap::plan plan;
            plan.fail(function, wrap::every, EACCES);
            EXPECT_EQ(init_utm_id_shm(), 0) << function;
        }
        EXPECT_TRUE(exists(registry_marker));
        EXPECT_EQ(slot(7), 70U);
    }
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(init_registry, segment_that_cannot_be_attached)
{
    wrap::plan plan;
    plan.fail("shmat", 1, ENOMEM);
    EXPECT_EQ(init_utm_id_shm(), -1);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(appcf_log(), "attach_utm_id_data_shm() fail\n");
    EXPECT_TRUE(exists(registry_marker));
    EXPECT_EQ(semaphore_value(), 1) << "unlocked again";
}

TEST(init_registry, failed_unlocking_does_not_count)
{
    set_slots({{0, 11}});
    wrap::plan plan;
    plan.fail("semop", 2, EIDRM);
    EXPECT_EQ(init_utm_id_shm(), 0);
    EXPECT_EQ(plan.count("semop"), 2);
    EXPECT_EQ(slot(0), 0U);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

} // namespace
