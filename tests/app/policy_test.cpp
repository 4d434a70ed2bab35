// Creating application policies.

#include "kqutm/app.h"

#include "tests/sandbox/rules.h"

#include <gtest/gtest.h>

namespace {

constexpr char no_id[] = "[utm_app_policy_create]can not get app policy unique id\n";
constexpr char not_asked[] = "[utm_app_policy_create]send_utm_event_and_get_response fail\n";

TEST(app_create, asks_the_daemon_and_returns_the_id)
{
    config_daemons daemons;
    EXPECT_EQ(utm_app_policy_create(0x01020304), 0x01020304);
    EXPECT_EQ(daemons.told(), paths{app_path});
    EXPECT_EQ(daemons.request_of(app_path), app_request(42).u32(8, 0x01020304));
    EXPECT_EQ(slot(app_policies), 0x01020304U);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(app_create, chosen_id_is_the_time)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.answer("time", wrap::every, 1700000000);
    EXPECT_EQ(utm_app_policy_create(0), 1700000000);
    EXPECT_EQ(daemons.request_of(app_path), app_request(42).u32(8, 1700000000));
}

TEST(app_create, first_use_after_boot_clears_the_registry)
{
    config_daemons daemons;
    set_slots({{profiles, 5}, {app_policies, 6}});
    EXPECT_EQ(utm_app_policy_create(8), 8);
    slots expected(1280, 0);
    expected[app_policies] = 8;
    EXPECT_EQ(all_slots(), expected);
}

TEST(app_create, number_of_a_content_filter_policy_is_free)
{
    config_daemons daemons;
    register_ids({{cf_policies, 8}, {profiles, 8}});
    EXPECT_EQ(utm_app_policy_create(8), 8);
}

TEST(app_create, response_and_head_are_released)
{
    config_daemons daemons;
    wrap::plan plan;
    EXPECT_EQ(utm_app_policy_create(8), 8);
    EXPECT_EQ(plan.count("malloc"), 2) << "response and head";
    EXPECT_EQ(plan.count("free"), 2);
}

// Deliberate: only the head of the list is released, whatever entries the daemon sent.
TEST(app_create, entries_of_the_list_are_not_released)
{
    sim::scripted_daemon daemon(app_path, answer({reply(2), reply(2), reply(2), reply(0)}));
    wrap::plan plan;
    EXPECT_EQ(utm_app_policy_create(8), 8);
    EXPECT_EQ(plan.count("malloc"), 5) << "response, head and three entries";
    EXPECT_EQ(plan.count("free"), 2);
}

// Deliberate: a policy that the daemon refuses keeps its identifier in the registry.
TEST(app_create, refused_policy_keeps_its_id)
{
    config_daemons daemons({.app = 5});
    expect_failure(utm_app_policy_create(8), EREMOTEIO);
    EXPECT_EQ(slot(app_policies), 8U);
    EXPECT_EQ(appcf_log(), asked_and_refused(5) + not_asked);
}

TEST(app_create, id_of_a_refused_policy_is_taken)
{
    expect_failure(utm_app_policy_create(8), ENOENT);
    config_daemons daemons;
    expect_failure(utm_app_policy_create(8), EEXIST);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), std::string(asked_nobody) + not_asked + no_id);
}

TEST(app_create, silent_daemon)
{
    sim::scripted_daemon daemon(app_path, sim::script{sim::receive(), sim::await_close()});
    expect_failure(utm_app_policy_create(8), ETIMEDOUT);
    EXPECT_EQ(slot(app_policies), 8U);
    EXPECT_EQ(appcf_log(), std::string(asked_in_vain) + not_asked);
}

TEST(app_create, without_memory)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("malloc", 2, ENOMEM);
    expect_failure(utm_app_policy_create(8), ENOMEM);
    EXPECT_EQ(appcf_log(), std::string("[send_utm_event_and_get_response]app malloc fail\n") + not_asked);
}

TEST(app_create, id_that_is_taken)
{
    config_daemons daemons;
    register_ids({{app_policies, 8}});
    expect_failure(utm_app_policy_create(8), EEXIST);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), no_id);
}

TEST(app_create, registry_that_is_full)
{
    config_daemons daemons;
    register_ids(full(app_policies));
    expect_failure(utm_app_policy_create(1000), ENOSPC);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), no_id);
}

TEST(app_create, id_of_2_to_the_31_is_reserved_and_refused)
{
    config_daemons daemons;
    expect_failure(utm_app_policy_create(0x80000000), EINVAL);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(slot(app_policies), 0x80000000U);
    EXPECT_EQ(appcf_log(), no_id);
}

TEST(app_create, registry_that_cannot_be_initialised_leaves_no_line_of_its_own)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("open", 1, EROFS);
    expect_failure(utm_app_policy_create(8), EROFS);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), "open /tmp/utm_user_profile_shm fail\n");
}

TEST(app_create, registry_that_cannot_be_locked)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("semop", wrap::every, EACCES);
    expect_failure(utm_app_policy_create(8), EACCES);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), no_id);
}

} // namespace
