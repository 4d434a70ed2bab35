#include "common/system_v.h"

#include "tests/sandbox/key_file.h"
#include "tests/sandbox/paths.h"
#include "tests/wrap/wrap.h"

#include <algorithm>
#include <cerrno>
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

namespace {

constexpr int project = 98;
constexpr size_t size = 5120;

using calls = std::vector<std::string>;

int value_of(int semid)
{
    return semctl(semid, 0, GETVAL, 0L);
}

TEST(open_semaphore, creates_a_set_of_one_with_value_1)
{
    wrap::plan plan;
    const int semid = open_semaphore(project);
    EXPECT_EQ(plan.calls(),
              (calls{"ftok(/usr/lib/libkqutm.so, 98)", "semget(1, 438)", "semget(1, 1974)", "semctl(0, 16, 1)"}));
    EXPECT_EQ(semid, semget(ftok(key_file, project), 1, 0));
    EXPECT_EQ(value_of(semid), 1);
}

TEST(open_semaphore, permissions_are_0666)
{
    semid_ds set = {};
    const int semid = open_semaphore(project);
    ASSERT_EQ(semctl(semid, 0, IPC_STAT, reinterpret_cast<long>(&set)), 0);
    EXPECT_EQ(set.sem_perm.mode & 0777, 0666);
    EXPECT_EQ(set.sem_nsems, 1U);
}

TEST(open_semaphore, existing_set_is_returned_as_it_stands)
{
    const int semid = open_semaphore(project);
    ASSERT_EQ(change_semaphore(semid, -1), 0);
    wrap::plan plan;
    EXPECT_EQ(open_semaphore(project), semid);
    EXPECT_EQ(plan.calls(), (calls{"ftok(/usr/lib/libkqutm.so, 98)", "semget(1, 438)"}));
    EXPECT_EQ(value_of(semid), 0);
}

TEST(open_semaphore, projects_have_sets_of_their_own)
{
    EXPECT_NE(open_semaphore(98), open_semaphore(99));
}

TEST(open_semaphore, missing_key_file_fails)
{
    missing_key_file installed_nowhere;
    wrap::plan plan;
    EXPECT_EQ(open_semaphore(project), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(plan.count("semget"), 0);
}

// Deliberate: whoever loses the race to create the set fails this call instead of looking for it again.
TEST(open_semaphore, loser_of_the_race_to_create_fails)
{
    wrap::plan plan;
    plan.before("semget", 2, [] { open_semaphore(project); });
    EXPECT_LT(open_semaphore(project), 0);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(plan.count("semget"), 2);
    EXPECT_GE(open_semaphore(project), 0);
}

TEST(open_semaphore, set_that_cannot_be_created_fails)
{
    wrap::plan plan;
    plan.fail("semget", 2, ENOSPC);
    EXPECT_EQ(open_semaphore(project), -1);
    EXPECT_EQ(errno, ENOSPC);
}

TEST(open_semaphore, set_whose_value_cannot_be_set_fails)
{
    wrap::plan plan;
    plan.fail("semctl", 1, EPERM);
    EXPECT_EQ(open_semaphore(project), -1);
    EXPECT_EQ(errno, EPERM);
}

// As one does whose maker was killed before it set the value.
TEST(open_semaphore, set_without_its_value_keeps_everybody_waiting_until_it_is_removed)
{
    {
        wrap::plan plan;
        plan.fail("semctl", 1, EPERM);
        EXPECT_EQ(open_semaphore(project), -1);
    }
    const int semid = open_semaphore(project);
    EXPECT_GE(semid, 0);
    EXPECT_EQ(value_of(semid), 0);
    ASSERT_EQ(semctl(semid, 0, IPC_RMID, 0L), 0);
    EXPECT_EQ(value_of(open_semaphore(project)), 1);
}

TEST(change_semaphore, is_one_semop_with_undo)
{
    const int semid = open_semaphore(project);
    wrap::plan plan;
    EXPECT_EQ(change_semaphore(semid, -1), 0);
    EXPECT_EQ(change_semaphore(semid, 1), 0);
    const std::string undo = std::to_string(SEM_UNDO);
    EXPECT_EQ(plan.calls(), (calls{"semop(0, -1, " + undo + ", 1)", "semop(0, 1, " + undo + ", 1)"}));
    EXPECT_EQ(value_of(semid), 1);
}

TEST(change_semaphore, unknown_set_fails)
{
    EXPECT_EQ(change_semaphore(4711, -1), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST(change_semaphore, interrupted_wait_is_not_taken_up_again)
{
    const int semid = open_semaphore(project);
    wrap::plan plan;
    plan.fail("semop", 1, EINTR);
    EXPECT_EQ(change_semaphore(semid, -1), -1);
    EXPECT_EQ(errno, EINTR);
    EXPECT_EQ(plan.count("semop"), 1);
}

TEST(attach_segment, creates_it_clear_with_permissions_0666)
{
    wrap::plan plan;
    const segment segment = attach_segment(97, size);
    EXPECT_EQ(plan.calls(),
              (calls{"ftok(/usr/lib/libkqutm.so, 97)", "shmget(5120, 0)", "shmget(5120, 1974)", "shmat(0)"}));
    ASSERT_NE(segment.address, nullptr);
    EXPECT_TRUE(segment.created);
    const auto* bytes = static_cast<const char*>(segment.address);
    EXPECT_TRUE(std::all_of(bytes, bytes + size, [](char byte) { return byte == 0; }));
    shmid_ds status = {};
    ASSERT_EQ(shmctl(shmget(ftok(key_file, 97), size, 0), IPC_STAT, &status), 0);
    EXPECT_EQ(status.shm_perm.mode & 0777, 0666);
    EXPECT_EQ(status.shm_segsz, size);
    detach_segment(segment.address);
}

TEST(attach_segment, existing_one_is_found_with_its_content)
{
    const segment first = attach_segment(97, size);
    static_cast<char*>(first.address)[5119] = 'x';
    const segment second = attach_segment(97, size);
    EXPECT_FALSE(second.created);
    EXPECT_NE(second.address, first.address);
    EXPECT_EQ(static_cast<char*>(second.address)[5119], 'x');
    detach_segment(first.address);
    detach_segment(second.address);
}

TEST(attach_segment, one_that_is_too_small_is_out_of_reach)
{
    detach_segment(attach_segment(97, 100).address);
    EXPECT_EQ(attach_segment(97, size).address, nullptr);
    EXPECT_EQ(errno, EEXIST);
}

TEST(attach_segment, loser_of_the_race_to_create_gets_null)
{
    wrap::plan plan;
    plan.before("shmget", 2, [] { detach_segment(attach_segment(97, size).address); });
    EXPECT_EQ(attach_segment(97, size).address, nullptr);
    EXPECT_EQ(errno, EEXIST);
}

TEST(attach_segment, failure_to_attach_is_null_and_not_minus_1)
{
    wrap::plan plan;
    plan.fail("shmat", wrap::every, EMFILE);
    EXPECT_EQ(attach_segment(97, size).address, nullptr) << "created";
    EXPECT_EQ(errno, EMFILE);
    EXPECT_EQ(attach_segment(97, size).address, nullptr) << "found";
    EXPECT_EQ(errno, EMFILE);
}

// Deliberate: the key is used untested; without the key file it is -1, a key like any other.
TEST(attach_segment, without_the_key_file_the_key_is_minus_1)
{
    missing_key_file installed_nowhere;
    const segment segment = attach_segment(97, size);
    ASSERT_NE(segment.address, nullptr);
    EXPECT_GE(shmget(-1, size, 0), 0);
    detach_segment(segment.address);
}

TEST(detach_segment, accepts_null_and_keeps_errno)
{
    wrap::plan plan;
    detach_segment(nullptr);
    EXPECT_EQ(plan.count("shmdt"), 0);
    errno = EXDEV;
    plan.fail("shmdt", 1, EINVAL);
    char byte;
    detach_segment(&byte);
    EXPECT_EQ(errno, EXDEV);
}

} // namespace
