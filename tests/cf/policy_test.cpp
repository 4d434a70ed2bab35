// Creating content-filter policies, their category blocks and their flush.

#include "kqutm/cf.h"

#include "tests/sandbox/rules.h"

#include <gtest/gtest.h>
#include <ostream>

namespace {

constexpr char no_id[] = "[utm_cf_policy_create]can not get unique id\n";

TEST(cf_create, tells_the_daemon_and_returns_the_id)
{
    config_daemons daemons;
    EXPECT_EQ(utm_cf_policy_create(0x01020304), 0x01020304);
    EXPECT_EQ(daemons.told(), paths{cf_path});
    EXPECT_EQ(daemons.request_of(cf_path), cf_request(5).u32(8, 0x01020304));
    EXPECT_EQ(slot(cf_policies), 0x01020304U);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(cf_create, ids_begin_with_1_and_end_below_2_to_the_31)
{
    config_daemons daemons;
    EXPECT_EQ(utm_cf_policy_create(1), 1);
    EXPECT_EQ(utm_cf_policy_create(INT32_MAX), INT32_MAX);
}

TEST(cf_create, chosen_id_is_the_time)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.answer("time", wrap::every, 1700000000);
    EXPECT_EQ(utm_cf_policy_create(0), 1700000000);
    EXPECT_EQ(daemons.request_of(cf_path), cf_request(5).u32(8, 1700000000));
}

TEST(cf_create, first_use_after_boot_clears_the_registry)
{
    config_daemons daemons;
    set_slots({{profiles, 5}, {cf_policies, 6}});
    EXPECT_EQ(utm_cf_policy_create(8), 8);
    slots expected(1280, 0);
    expected[cf_policies] = 8;
    EXPECT_EQ(all_slots(), expected);
}

TEST(cf_create, number_of_an_application_policy_is_free)
{
    config_daemons daemons;
    register_ids({{app_policies, 8}, {profiles, 8}});
    EXPECT_EQ(utm_cf_policy_create(8), 8);
}

TEST(cf_create, id_is_registered_before_the_daemon_is_told)
{
    sim::scripted_daemon daemon(cf_path, look_and_answer([] { EXPECT_EQ(slot(cf_policies), 8U); }));
    EXPECT_EQ(utm_cf_policy_create(8), 8);
}

// Deliberate: a refused policy frees its number in the table of application policies too.
TEST(cf_create, refused_policy_frees_its_number_in_both_tables)
{
    config_daemons daemons({.cf = 5});
    register_ids({{cf_policies, 20}, {app_policies + 9, 8}, {app_policies + 10, 30}, {profiles, 8}});
    expect_failure(utm_cf_policy_create(8), EREMOTEIO);
    slots expected(1280, 0);
    expected[cf_policies] = 20;
    expected[app_policies + 10] = 30;
    expected[profiles] = 8;
    EXPECT_EQ(all_slots(), expected);
    EXPECT_EQ(appcf_log(), refused(5)) << "no line of its own";
}

TEST(cf_create, absent_daemon_frees_the_id)
{
    impatient caller;
    expect_failure(utm_cf_policy_create(8), ENOENT);
    EXPECT_EQ(slot(cf_policies), 0U);
    EXPECT_EQ(appcf_log(), unreachable());
}

TEST(cf_create, silent_daemon_frees_the_id)
{
    config_daemons daemons;
    unheard caller;
    expect_failure(utm_cf_policy_create(8), ETIMEDOUT);
    EXPECT_EQ(slot(cf_policies), 0U);
    EXPECT_EQ(appcf_log(), unanswered);
}

TEST(cf_create, id_that_is_taken)
{
    config_daemons daemons;
    register_ids({{cf_policies, 8}});
    expect_failure(utm_cf_policy_create(8), EEXIST);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(slot(cf_policies), 8U);
    EXPECT_EQ(appcf_log(), no_id);
}

TEST(cf_create, registry_that_is_full)
{
    config_daemons daemons;
    register_ids(full(cf_policies));
    expect_failure(utm_cf_policy_create(1000), ENOSPC);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), no_id);
}

TEST(cf_create, negative_id_is_reserved_and_refused)
{
    config_daemons daemons;
    expect_failure(utm_cf_policy_create(-5), EINVAL);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(slot(cf_policies), static_cast<uint32_t>(-5));
    EXPECT_EQ(appcf_log(), no_id);
}

TEST(cf_create, registry_that_cannot_be_initialised_leaves_no_line_of_its_own)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("open", 1, EROFS);
    expect_failure(utm_cf_policy_create(8), EROFS);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), "open /tmp/utm_user_profile_shm fail\n");
}

TEST(cf_create, registry_that_cannot_be_locked)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("semop", wrap::every, EACCES);
    expect_failure(utm_cf_policy_create(8), EACCES);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), no_id);
}

// 128 bytes that differ, 0 among them.
sim::bytes category_block()
{
    sim::bytes block;
    for (int i = 0; i < 128; i++)
        block.push_back(static_cast<uint8_t>(i * 2));
    return block;
}

sim::bytes block_request(uint32_t policy)
{
    sim::bytes expected = cf_request(6).u32(8, policy);
    for (size_t i = 0; i < 128; i++)
        expected[12 + i] = static_cast<uint8_t>(i * 2);
    return expected;
}

// The operations that ask the registry for their policy.
struct checked_operation {
    const char* name;
    int32_t (*run)(int32_t policy);
    sim::bytes (*asked)(uint32_t policy);
    const char* failed; // with the policy 20

    friend std::ostream& operator<<(std::ostream& to, const checked_operation& operation)
    {
        return to << operation.name;
    }
};

class checked_policies : public testing::TestWithParam<checked_operation> {
protected:
    checked_policies() { register_profile_and_policies(); }
};

INSTANTIATE_TEST_SUITE_P(
    all, checked_policies,
    testing::Values(checked_operation{"config_block",
                                      [](int32_t policy) {
                                          return utm_cf_policy_config_block(policy, category_block().data());
                                      },
                                      block_request, "config cf policy block category fail(id = 20)\n"},
                    checked_operation{
                        "flush", [](int32_t policy) { return utm_cf_policy_flush(-2, policy); },
                        [](uint32_t policy) -> sim::bytes { return cf_request(24).u32(8, policy).u32(12, 0xfffffffe); },
                        "[utm_cf_policy_flush] fail(flush_type = -2, cf_policy_id = 20)\n"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_P(checked_policies, policy_travels_at_byte_8)
{
    config_daemons daemons;
    EXPECT_EQ(GetParam().run(20), 0);
    EXPECT_EQ(daemons.told(), paths{cf_path});
    EXPECT_EQ(daemons.request_of(cf_path), GetParam().asked(20));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(checked_policies, refusal_is_logged)
{
    config_daemons daemons({.cf = 5});
    expect_failure(GetParam().run(20), EREMOTEIO);
    EXPECT_EQ(appcf_log(), refused(5) + GetParam().failed);
}

TEST_P(checked_policies, absence_is_logged)
{
    impatient caller;
    expect_failure(GetParam().run(20), ENOENT);
    EXPECT_EQ(appcf_log(), unreachable() + GetParam().failed);
}

TEST_P(checked_policies, silence_is_logged)
{
    config_daemons daemons;
    unheard caller;
    expect_failure(GetParam().run(20), ETIMEDOUT);
    EXPECT_EQ(appcf_log(), std::string(unanswered) + GetParam().failed);
}

TEST_P(checked_policies, unknown_one_is_not_sent)
{
    config_daemons daemons;
    expect_failure(GetParam().run(30), ENOENT);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), "cf policy id(30) not found\n");
}

TEST_P(checked_policies, registry_that_cannot_be_locked_does_not_stop_it)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("semop", wrap::every, EACCES);
    EXPECT_EQ(GetParam().run(99), 0);
    EXPECT_EQ(daemons.told(), paths{cf_path});
    EXPECT_EQ(daemons.request_of(cf_path), GetParam().asked(99));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(checked_policies, registry_that_cannot_be_attached_stops_it)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("shmat", 1, ENOMEM);
    expect_failure(GetParam().run(20), ENOMEM);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(semaphore_value(), 1);
    EXPECT_EQ(appcf_log(), attach_failed);
}

TEST(cf_config_block, null_block_is_refused_before_anything_else)
{
    config_daemons daemons;
    wrap::plan plan;
    expect_failure(utm_cf_policy_config_block(20, nullptr), EINVAL);
    EXPECT_EQ(plan.calls(), std::vector<std::string>{});
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(cf_policy_flush, policy_0_is_sent_without_a_look_at_the_registry)
{
    config_daemons daemons;
    wrap::plan plan;
    EXPECT_EQ(utm_cf_policy_flush(3, 0), 0);
    EXPECT_EQ(plan.count("ftok"), 0);
    EXPECT_EQ(daemons.request_of(cf_path), cf_request(24).u32(12, 3));
}

} // namespace
