// The operations of the C++ layer: what they hand to the library, and what they make of its results.

#include <kqutm.hpp>

#include "tests/engines/engines.h"
#include "tests/sandbox/registry.h"
#include "tests/wrap/wrap.h"

#include <gtest/gtest.h>

namespace {

using kqutm::profile_id;

const profile_id children = *profile_id::of(7);
const kqutm::cf_policy_id policy = *kqutm::cf_policy_id::of(70);

template <class Id> constexpr bool creates_profile = requires(Id id)
{
    kqutm::profiles::create(id);
};
template <class Id> constexpr bool creates_filter_policy = requires(Id id)
{
    kqutm::filter::create(id);
};
template <class Id> constexpr bool creates_application_policy = requires(Id id)
{
    kqutm::applications::create(id);
};

// What may be no identifier is never read as the wish for one from the clock.
static_assert(creates_profile<profile_id> && !creates_profile<std::optional<profile_id>>);
static_assert(creates_filter_policy<kqutm::cf_policy_id> && !creates_filter_policy<std::optional<kqutm::cf_policy_id>>);
static_assert(creates_application_policy<kqutm::app_policy_id> &&
              !creates_application_policy<std::optional<kqutm::app_policy_id>>);
static_assert(!creates_profile<std::nullopt_t> && !creates_profile<int> && !creates_profile<kqutm::cf_policy_id>);

TEST(hpp_operations, a_profile_is_created_and_registered)
{
    const config_daemons daemons;
    const auto created = kqutm::profiles::create(children);
    ASSERT_TRUE(created);
    EXPECT_EQ(created->id, children);
    EXPECT_TRUE(created->registered);
    EXPECT_TRUE(*kqutm::is_registered(children));
}

TEST(hpp_operations, a_profile_may_be_created_and_not_registered)
{
    const config_daemons daemons({.cf = 5});
    const auto created = kqutm::profiles::create(children);
    ASSERT_TRUE(created);
    EXPECT_FALSE(created->registered);
    EXPECT_FALSE(*kqutm::is_registered(children));
}

TEST(hpp_operations, a_profile_that_the_application_daemon_refuses_is_not_created)
{
    const config_daemons daemons({.app = 5});
    const auto created = kqutm::profiles::create(children);
    ASSERT_FALSE(created);
    EXPECT_TRUE(created.error().refused());
    EXPECT_EQ(created.error().returned, -1);
}

TEST(hpp_operations, without_an_identifier_the_clock_gives_one)
{
    const config_daemons daemons;
    const auto filter_policy = kqutm::filter::create();
    ASSERT_TRUE(filter_policy);
    EXPECT_EQ(slot(cf_policies), static_cast<uint32_t>(filter_policy->id.number()));
    const auto profile = kqutm::profiles::create();
    ASSERT_TRUE(profile);
    EXPECT_EQ(slot(profiles), static_cast<uint32_t>(profile->id.number()));
    const auto application_policy = kqutm::applications::create();
    ASSERT_TRUE(application_policy);
    EXPECT_EQ(slot(app_policies), static_cast<uint32_t>(application_policy->id.number()));
}

TEST(hpp_operations, a_policy_is_created_with_its_identifier)
{
    const config_daemons daemons;
    EXPECT_EQ((*kqutm::filter::create(policy)).id, policy);
    EXPECT_EQ(slot(cf_policies), 70U);
    EXPECT_EQ((*kqutm::applications::create(*kqutm::app_policy_id::of(80))).id.number(), 80);
    EXPECT_EQ(slot(app_policies), 80U);
}

TEST(hpp_operations, devices_and_policies_reach_the_daemons)
{
    const config_daemons daemons;
    set_slots({{profiles, 7}, {cf_policies, 70}});
    EXPECT_TRUE(kqutm::profiles::add_device(children, *kqutm::mac_address::parse("02:42:ac:11:00:05")));
    EXPECT_EQ(daemons.request_of(user_profile_path),
              (sim::bytes{3, 0, 0, 0, 7, 0, 0, 0, 2, 0x42, 0xac, 0x11, 0, 5, 0, 0}));
    EXPECT_TRUE(kqutm::profiles::bind(children, policy));
    EXPECT_EQ(slot(cf_bindings), 70U);
    EXPECT_TRUE(kqutm::filter::add(policy, kqutm::filter::list_of_domains::keywords, "casino"));
    EXPECT_EQ(daemons.request_of(cf_path)[0], 16);
    EXPECT_TRUE(kqutm::filter::remove(policy, kqutm::filter::list_of_domains::forbidden, "games.example"));
    EXPECT_EQ(daemons.request_of(cf_path)[0], 15);
    EXPECT_TRUE(kqutm::filter::add(kqutm::filter::list_of_urls::forbidden, "http://shop.example"));
    EXPECT_EQ(daemons.request_of(cf_path)[0], 10);
}

TEST(hpp_operations, values_come_from_the_daemon)
{
    sim::bytes answered = reply(0);
    put_u32(answered, 228, 120);
    sim::scripted_daemon daemon(app_path, answer(records{answered}));
    EXPECT_EQ(*kqutm::limits::daily(children), 120U);
}

TEST(hpp_operations, a_text_that_would_be_cut_is_not_sent)
{
    for (const kqutm::result<kqutm::done>& result :
         {kqutm::ips::set_whitelist("12345678901", 0), kqutm::ips::update_signature(std::string(256, 'p')),
          kqutm::av::set_whitelist(std::string(33, 'e'), 0), kqutm::devid::set_ignored_interface("sixteen-letters-", 0),
          kqutm::ir::load(std::string(128, 'p')), kqutm::applications::update_signature(std::string(128, 'p')),
          kqutm::filter::add(kqutm::filter::list_of_urls::trusted, std::string("a\0b", 3)),
          kqutm::uuid::set(std::string(256, 'u'))}) {
        ASSERT_FALSE(result);
        EXPECT_EQ(result.error().code(), std::errc::invalid_argument);
    }
    EXPECT_FALSE(kqutm::devid::devices_by_ip(std::string(46, ':')));
    EXPECT_FALSE(kqutm::devid::devices_by_mac(std::string(32, ':')));
    EXPECT_FALSE(exists("/tmp/utm_log")) << "no operation has tried to reach its daemon";
}

TEST(hpp_operations, an_engine_tells_its_own_result)
{
    const engine_daemon ips(ips_path, records{ips_reply(5)});
    const engine_daemon devid(devid_path, records{devid_reply(5)});
    EXPECT_EQ(kqutm::ips::reset().error().returned, 5);
    EXPECT_TRUE(kqutm::ips::reset().error().refused());
    EXPECT_EQ(kqutm::devid::reset().error().returned, 5);
    EXPECT_EQ(kqutm::ir::activate(true).error().returned, UTM_IR_NO_CONNECTION);
}

TEST(hpp_operations, where_minus_one_alone_is_a_refusal_the_daemons_number_is_the_value)
{
    const engine_daemon devid(devid_path, records{devid_reply(5)});
    EXPECT_EQ(*kqutm::devid::flush_cache(), 5);
    EXPECT_EQ(*kqutm::devid::set_max_cache_size(10), 5);
    EXPECT_EQ(*kqutm::devid::set_debug(true), 5);
    EXPECT_EQ(*kqutm::devid::show_kernel_list(), 5);
}

TEST(hpp_operations, a_refusal_by_minus_one_is_a_cause)
{
    const engine_daemon devid(devid_path, records{devid_reply(-1)});
    const auto flushed = kqutm::devid::flush_cache();
    ASSERT_FALSE(flushed);
    EXPECT_TRUE(flushed.error().refused());
    EXPECT_EQ(flushed.error().returned, -1);
}

TEST(hpp_operations, a_switch_of_limits_may_have_more_values_than_two)
{
    const config_daemons daemons;
    EXPECT_TRUE(kqutm::limits::set_enabled(children, true));
    EXPECT_EQ(daemons.request_of(app_path)[16], 1);
    EXPECT_TRUE(kqutm::limits::set_enabled(children, 5));
    EXPECT_EQ(daemons.request_of(app_path)[16], 5);
}

TEST(hpp_operations, a_uuid_fits_whatever_its_length)
{
    EXPECT_EQ(*kqutm::uuid::get(), "") << "there is none";
    const std::string longest(255, 'u');
    EXPECT_TRUE(kqutm::uuid::set(longest));
    EXPECT_EQ(*kqutm::uuid::get(), longest);
}

TEST(hpp_operations, more_entries_than_an_operation_can_count_are_refused)
{
    const auto id = *kqutm::app_policy_id::of(90);
    const kqutm::applications::entry only = {};
    for (const size_t count : {size_t{1} << 31, (size_t{1} << 32) + 1}) {
        const std::span<const kqutm::applications::entry> entries(&only, count); // refused before it is read
        EXPECT_EQ(kqutm::applications::set_entries(id, entries).error().code(), std::errc::invalid_argument);
        EXPECT_EQ(kqutm::applications::add_entries(id, entries).error().code(), std::errc::invalid_argument);
    }
    EXPECT_FALSE(exists("/tmp/utm_log")) << "no operation has looked for the policy";
}

TEST(hpp_operations, a_snapshot_is_the_registry_and_leaves_it_unlocked)
{
    ASSERT_EQ(init_utm_id_shm(), 0);
    set_slots({{profiles, 7}, {cf_bindings, 70}});
    const auto registry = kqutm::registry_snapshot();
    ASSERT_TRUE(registry);
    EXPECT_EQ(registry->profiles[0], 7U);
    EXPECT_EQ(registry->cf_bindings[0], 70U);
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(hpp_operations, the_first_snapshot_since_the_gateway_started_clears_the_registry)
{
    set_slots({{profiles, 7}});
    const auto registry = kqutm::registry_snapshot();
    ASSERT_TRUE(registry);
    EXPECT_EQ(registry->profiles[0], 0U);
    EXPECT_TRUE(exists(UTM_ID_MARKER));
}

TEST(hpp_operations, a_snapshot_of_a_registry_that_cannot_be_cleared_fails)
{
    wrap::plan plan;
    plan.fail("shmget", wrap::every, EACCES);
    const auto registry = kqutm::registry_snapshot();
    ASSERT_FALSE(registry);
    EXPECT_EQ(registry.error().error, EACCES);
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(hpp_operations, a_signal_does_not_end_the_wait_for_the_registry)
{
    ASSERT_EQ(init_utm_id_shm(), 0);
    wrap::plan plan;
    plan.fail("semop", 1, EINTR);
    plan.fail("semop", 2, EINTR);
    EXPECT_TRUE(kqutm::registry_snapshot());
    EXPECT_EQ(plan.count("semop"), 4) << "two that were interrupted, the lock, and its return";
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(hpp_operations, a_registry_that_cannot_be_locked_gives_no_snapshot)
{
    ASSERT_EQ(init_utm_id_shm(), 0);
    wrap::plan plan;
    plan.fail("semop", 1, EIDRM);
    EXPECT_EQ(kqutm::registry_snapshot().error().error, EIDRM);
    EXPECT_EQ(plan.count("semop"), 1);
}

TEST(hpp_operations, a_semaphore_that_another_process_has_just_made_is_found_at_the_second_look)
{
    ASSERT_EQ(init_utm_id_shm(), 0);
    wrap::plan plan;
    plan.fail("semget", 1, ENOENT);
    plan.fail("semget", 2, EEXIST);
    EXPECT_TRUE(kqutm::registry_lock());
    EXPECT_EQ(plan.count("semget"), 3);
    EXPECT_EQ(semaphore_value(), 1);
}

// It exists, and every look for it fails.
TEST(hpp_operations, a_semaphore_that_is_closed_is_looked_for_twice)
{
    wrap::plan plan;
    for (const int look : {1, 3})
        plan.fail("semget", look, EACCES);
    for (const int creation : {2, 4})
        plan.fail("semget", creation, EEXIST);
    const kqutm::registry_lock lock;
    EXPECT_FALSE(lock);
    EXPECT_FALSE(lock.is_open());
    EXPECT_EQ(plan.count("semget"), 4);
}

TEST(hpp_operations, a_semaphore_that_cannot_be_locked_is_open)
{
    wrap::plan plan;
    plan.fail("semop", 1, EIDRM);
    const kqutm::registry_lock lock;
    EXPECT_FALSE(lock);
    EXPECT_TRUE(lock.is_open());
}

} // namespace
