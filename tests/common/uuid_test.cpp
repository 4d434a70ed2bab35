#include "kqutm/common.h"

#include "tests/sandbox/files.h"
#include "tests/sandbox/key_file.h"
#include "tests/sandbox/paths.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

namespace {

using calls = std::vector<std::string>;

constexpr int size = 256;

std::string common_log()
{
    return content_of("/tmp/utm_log/utm_libkqutm_common_log");
}

// The segment as any process sees it, without the library.
std::string stored()
{
    const int id = shmget(ftok(key_file, 'q'), size, 0);
    void* address = shmat(id, nullptr, SHM_RDONLY);
    EXPECT_NE(address, reinterpret_cast<void*>(-1));
    std::string bytes(static_cast<const char*>(address), size);
    shmdt(address);
    return bytes;
}

void store(const std::string& bytes)
{
    const int id = shmget(ftok(key_file, 'q'), size, IPC_CREAT | 0666);
    void* address = shmat(id, nullptr, 0);
    ASSERT_NE(address, reinterpret_cast<void*>(-1));
    memcpy(address, bytes.data(), bytes.size());
    shmdt(address);
}

int lock_value()
{
    return semctl(semget(ftok(key_file, 'j'), 1, 0), 0, GETVAL, 0L);
}

std::string got()
{
    char buffer[size];
    EXPECT_EQ(utm_uuid_get(buffer, size), 0);
    return buffer;
}

TEST(common_semaphore, is_that_of_project_106)
{
    wrap::plan plan;
    const int semid = init_utm_common_sem();
    EXPECT_GE(semid, 0);
    EXPECT_EQ(init_utm_common_sem(), semid);
    EXPECT_EQ(plan.calls("ftok"), (calls{"ftok(/usr/lib/libkqutm.so, 106)", "ftok(/usr/lib/libkqutm.so, 106)"}));
    EXPECT_EQ(plan.count("semget"), 3) << "looked for, created, found";
    EXPECT_EQ(lock_value(), 1);
    semid_ds set;
    ASSERT_EQ(semctl(semid, 0, IPC_STAT, &set), 0);
    EXPECT_EQ(set.sem_perm.mode & 0777, 0666);
}

TEST(common_semaphore, locks_and_unlocks_with_undo)
{
    const int semid = init_utm_common_sem();
    wrap::plan plan;
    EXPECT_EQ(utm_commoc_lock(semid), 0);
    EXPECT_EQ(lock_value(), 0);
    EXPECT_EQ(utm_commoc_unlock(semid), 0);
    EXPECT_EQ(lock_value(), 1);
    const std::string undo = std::to_string(SEM_UNDO);
    EXPECT_EQ(plan.calls("semop"), (calls{"semop(0, -1, " + undo + ", 1)", "semop(0, 1, " + undo + ", 1)"}));
}

TEST(common_semaphore, failures_are_negative)
{
    EXPECT_EQ(utm_commoc_lock(-1), -1);
    EXPECT_EQ(utm_commoc_unlock(-1), -1);
    for (const char* function : {"ftok", "semget", "semctl"}) {
        wrap::plan plan;
        plan.fail(function, wrap::every, ENOSPC);
        EXPECT_LT(init_utm_common_sem(), 0) << function;
        EXPECT_EQ(errno, ENOSPC);
    }
}

TEST(common_segment, is_that_of_project_113)
{
    wrap::plan plan;
    void* address = attach_utm_common_data_shm();
    ASSERT_NE(address, nullptr);
    EXPECT_EQ(plan.calls(),
              (calls{"ftok(/usr/lib/libkqutm.so, 113)", "shmget(256, 0)", "shmget(256, 1974)", "shmat(0)"}));
    EXPECT_EQ(std::string(static_cast<const char*>(address), size), std::string(size, '\0'));
    EXPECT_EQ(detach_utm_common_data_shm(address), 0);
}

TEST(common_segment, keeps_what_it_holds_when_it_is_found)
{
    store("abc");
    void* address = attach_utm_common_data_shm();
    ASSERT_NE(address, nullptr);
    EXPECT_STREQ(static_cast<const char*>(address), "abc");
    EXPECT_EQ(detach_utm_common_data_shm(address), 0);
}

TEST(common_segment, failures_are_null_and_detaching_always_0)
{
    for (const char* function : {"shmget", "shmat"}) {
        wrap::plan plan;
        plan.fail(function, wrap::every, ENOMEM);
        EXPECT_EQ(attach_utm_common_data_shm(), nullptr) << function;
        EXPECT_EQ(errno, ENOMEM);
    }
    wrap::plan plan;
    EXPECT_EQ(detach_utm_common_data_shm(nullptr), 0);
    EXPECT_EQ(plan.count("shmdt"), 0);
    plan.fail("shmdt", 1, EINVAL);
    void* address = attach_utm_common_data_shm();
    EXPECT_EQ(detach_utm_common_data_shm(address), 0);
    EXPECT_EQ(detach_utm_common_data_shm(address), 0);
}

// As after an upgrade without a restart.
TEST(uuid, replaced_key_file_loses_it)
{
    ASSERT_EQ(utm_uuid_set("4fd1c2a0"), 0);
    {
        replaced_key_file upgraded;
        char buffer[size] = "left";
        EXPECT_EQ(utm_uuid_get(buffer, size), -1);
        EXPECT_EQ(errno, 0);
        EXPECT_STREQ(buffer, "");
    }
    EXPECT_EQ(got(), "4fd1c2a0");
}

TEST(uuid, is_stored_and_read_back_whole)
{
    for (const std::string& uuid : {std::string(255, 'u'), std::string("4fd1c2a0"), std::string("x")}) {
        EXPECT_EQ(utm_uuid_set(uuid.c_str()), 0);
        EXPECT_EQ(got(), uuid);
    }
    EXPECT_EQ(lock_value(), 1);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(uuid, of_256_characters_is_refused)
{
    ASSERT_EQ(utm_uuid_set("abc"), 0);
    EXPECT_EQ(utm_uuid_set(std::string(256, 'u').c_str()), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(common_log(), "The string length is too long.\n");
    EXPECT_EQ(got(), "abc");
}

// Deliberate: what a longer UUID left behind the terminator stays there.
TEST(uuid, shorter_one_leaves_the_end_of_a_longer_one)
{
    EXPECT_EQ(utm_uuid_set("abcdef"), 0);
    EXPECT_EQ(utm_uuid_set("xyz"), 0);
    EXPECT_EQ(got(), "xyz");
    EXPECT_EQ(stored(), std::string("xyz\0ef", 6) + std::string(250, '\0'));
}

TEST(uuid, nobody_has_set_is_an_empty_text_and_minus_1)
{
    char buffer[size];
    memset(buffer, 'Z', sizeof buffer);
    EXPECT_EQ(utm_uuid_get(buffer, size), -1);
    EXPECT_EQ(errno, 0);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(buffer[1], 'Z') << "only the text is copied";
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(uuid, empty_text_takes_it_away)
{
    EXPECT_EQ(utm_uuid_set("abc"), 0);
    EXPECT_EQ(utm_uuid_set(""), 0);
    char buffer[size];
    EXPECT_EQ(utm_uuid_get(buffer, size), -1);
    EXPECT_STREQ(buffer, "");
}

TEST(uuid, size_of_257_is_refused)
{
    EXPECT_EQ(utm_uuid_set("abc"), 0);
    wrap::plan plan;
    char buffer[size] = "before";
    EXPECT_EQ(utm_uuid_get(buffer, 257), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_STREQ(buffer, "before");
    EXPECT_EQ(common_log(), "size error\n");
    EXPECT_EQ(plan.count("semget"), 0);
}

// Deliberate: the size is looked at here alone; the copy takes up to 256 bytes, whatever it says.
TEST(uuid, copy_is_not_limited_by_a_smaller_size)
{
    const std::string uuid(255, 'u');
    EXPECT_EQ(utm_uuid_set(uuid.c_str()), 0);
    for (int small : {255, 1, 0, -1, INT32_MIN}) {
        char buffer[size];
        EXPECT_EQ(utm_uuid_get(buffer, small), 0) << small;
        EXPECT_EQ(buffer, uuid) << small;
    }
}

TEST(uuid, segment_without_a_terminator_is_cut_at_255_characters)
{
    store(std::string(size, 'u'));
    EXPECT_EQ(got(), std::string(255, 'u'));
}

TEST(uuid, null_is_refused_before_anything)
{
    wrap::plan plan;
    EXPECT_EQ(utm_uuid_set(nullptr), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(utm_uuid_get(nullptr, 257), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(plan.calls(), calls{});
}

TEST(uuid, nothing_is_logged_without_semaphore_or_lock)
{
    ASSERT_EQ(utm_uuid_set("abc"), 0);
    char buffer[size] = "before";
    for (const char* function : {"ftok", "semget", "semop"}) {
        wrap::plan plan;
        plan.fail(function, wrap::every, EACCES);
        EXPECT_EQ(utm_uuid_set("other"), -1) << function;
        EXPECT_EQ(errno, EACCES);
        EXPECT_EQ(utm_uuid_get(buffer, size), -1) << function;
        EXPECT_EQ(errno, EACCES);
        EXPECT_EQ(plan.count("shmget"), 0);
    }
    EXPECT_STREQ(buffer, "before");
    EXPECT_EQ(got(), "abc");
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(uuid, is_out_of_reach_without_the_key_file)
{
    missing_key_file installed_nowhere;
    char buffer[size];
    EXPECT_EQ(utm_uuid_set("abc"), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(utm_uuid_get(buffer, size), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST(uuid, segment_that_cannot_be_attached_is_logged)
{
    wrap::plan plan;
    plan.fail("shmat", wrap::every, ENOMEM);
    EXPECT_EQ(utm_uuid_set("abc"), -1);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(common_log(), "attach_utm_common_data_shm() fail\n");
    char buffer[size] = "before";
    EXPECT_EQ(utm_uuid_get(buffer, size), -1);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_STREQ(buffer, "before");
    EXPECT_EQ(common_log(), "attach_utm_common_data_shm() fail\nattach_utm_common_data_shm() fail\n");
    EXPECT_EQ(lock_value(), 1) << "unlocked again";
}

TEST(uuid, set_succeeds_when_it_cannot_unlock)
{
    wrap::plan plan;
    plan.fail("semop", 2, EIDRM);
    EXPECT_EQ(utm_uuid_set("abc"), 0);
    EXPECT_EQ(plan.count("semop"), 2);
    EXPECT_EQ(stored().substr(0, 4), std::string("abc\0", 4));
}

// Deliberate: a getter whose lock cannot be given back fails, where the setter succeeds.
TEST(uuid, get_fails_when_it_cannot_unlock)
{
    ASSERT_EQ(utm_uuid_set("abc"), 0);
    wrap::plan plan;
    plan.fail("semop", 2, EIDRM);
    char buffer[size];
    EXPECT_EQ(utm_uuid_get(buffer, size), -1);
    EXPECT_EQ(errno, EIDRM);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(plan.count("semop"), 2);
    EXPECT_EQ(plan.count("shmdt"), 1);
}

TEST(uuid, lock_is_taken_again_after_a_signal)
{
    wrap::plan plan;
    plan.fail("semop", 1, EINTR);
    EXPECT_EQ(utm_uuid_set("abc"), 0);
    EXPECT_EQ(plan.count("semop"), 3);
    EXPECT_EQ(got(), "abc");
}

TEST(uuid, segment_is_touched_under_the_lock_alone)
{
    wrap::plan plan;
    plan.before("shmget", 1, [] { EXPECT_EQ(lock_value(), 0); });
    plan.before("shmdt", 1, [] { EXPECT_EQ(lock_value(), 0); });
    EXPECT_EQ(utm_uuid_set("abc"), 0);
    EXPECT_EQ(plan.count("shmdt"), 1);
    EXPECT_EQ(lock_value(), 1);
}

TEST(uuid, registry_is_another_segment_with_another_lock)
{
    wrap::plan plan;
    ASSERT_EQ(utm_uuid_set("abc"), 0);
    EXPECT_EQ(plan.calls("ftok"), (calls{"ftok(/usr/lib/libkqutm.so, 106)", "ftok(/usr/lib/libkqutm.so, 113)"}));
    EXPECT_FALSE(exists(registry_marker));
}

} // namespace
