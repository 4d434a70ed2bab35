#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/paths.h"
#include "tests/sandbox/registry.h"
#include "tests/wire/exchange.h"

#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

extern "C" {
int init_utm_id_config_sem(void);
int init_utm_id_shm(void);
int get_unique_id(uint32_t id, uint32_t kind);
}

namespace {

// The bytes of the segment that the library has created.
sim::bytes segment()
{
    const int id = shmget(ftok(key_file, 97), 5120, 0);
    EXPECT_GE(id, 0);
    void* address = shmat(id, nullptr, SHM_RDONLY);
    const sim::bytes all = bytes_of(address, 5120);
    shmdt(address);
    return all;
}

TEST(registry_segment, has_5120_bytes_and_permissions_0666)
{
    ASSERT_EQ(init_utm_id_shm(), 0);
    shmid_ds status = {};
    ASSERT_EQ(shmctl(shmget(ftok(key_file, 'a'), 0, 0), IPC_STAT, &status), 0);
    EXPECT_EQ(status.shm_segsz, 5120U);
    EXPECT_EQ(status.shm_perm.mode & 0777, 0666);
}

TEST(registry_segment, semaphore_is_one_of_value_1_and_permissions_0666)
{
    const int semid = init_utm_id_config_sem();
    EXPECT_EQ(semid, semget(ftok(key_file, 'b'), 1, 0));
    semid_ds status = {};
    ASSERT_EQ(semctl(semid, 0, IPC_STAT, &status), 0);
    EXPECT_EQ(status.sem_nsems, 1U);
    EXPECT_EQ(status.sem_perm.mode & 0777, 0666);
    EXPECT_EQ(semctl(semid, 0, GETVAL), 1);
}

TEST(registry_segment, kinds_stand_at_bytes_0_2048_and_4096)
{
    ASSERT_EQ(get_unique_id(0x01020304, 1), 0x01020304);
    ASSERT_EQ(get_unique_id(0x11, 2), 0x11);
    ASSERT_EQ(get_unique_id(0x22, 3), 0x22);
    ASSERT_EQ(get_unique_id(0x33, 3), 0x33);
    EXPECT_EQ(segment(), record(5120, {{0, 4}, {1, 3}, {2, 2}, {3, 1}, {2048, 0x11}, {4096, 0x22}, {4100, 0x33}}));
}

TEST(registry_segment, bindings_stand_at_bytes_1024_and_3072)
{
    config_daemons daemons;
    // The profile in slot 255, bound to policies 5 and 6 in their last slots.
    set_slots({{255, 9}, {511, 5}, {767, 5}, {1023, 6}, {1279, 6}});
    const sim::bytes before = segment();
    EXPECT_EQ(before, record(5120, {{1020, 9}, {2044, 5}, {3068, 5}, {4092, 6}, {5116, 6}}));
    ASSERT_EQ(utm_user_profile_delete(9), 0);
    EXPECT_EQ(segment(), sim::bytes(5120));
}

} // namespace
