// The profile mapping.

#include "kqutm/profile.h"

#include "tests/sandbox/paths.h"
#include "tests/sandbox/printed.h"
#include "tests/sandbox/rules.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <regex>
#include <utility>

namespace {

using mapping = std::vector<std::pair<int32_t, int32_t>>;

constexpr char no_node[] = "malloc show queue node fail\n";

// Profiles with their policies, as steps along next; checks that prev leads back.
mapping entries(const utm_profile_mapping* head)
{
    mapping all;
    for (const utm_profile_mapping* node = head->next; node != head; node = node->next) {
        EXPECT_EQ(node->prev->next, node);
        EXPECT_EQ(node->next->prev, node);
        all.emplace_back(node->profile_id, node->cf_policy_id);
    }
    return all;
}

// Takes the mapping, and releases it. Null reads as one impossible entry.
mapping take_mapping()
{
    utm_profile_mapping* head = dump_utm_profile_mapping();
    if (head == nullptr)
        return {{-99, -99}};
    mapping all = entries(head);
    utm_free_profile_mapping_list(head);
    return all;
}

void register_three_profiles()
{
    register_ids({{profiles, 7}, {profiles + 2, 5}, {profiles + 255, 0x80000000}});
    set_slots({{cf_bindings, 20}, {cf_bindings + 1, 21}, {cf_bindings + 255, 22}, {app_bindings, 30}});
}

TEST(mapping, has_a_node_for_each_profile_in_the_order_of_slots)
{
    register_three_profiles();
    EXPECT_EQ(take_mapping(), (mapping{{7, 20}, {5, 0}, {INT32_MIN, 22}}));
    EXPECT_EQ(semaphore_value(), 1);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(mapping, of_256_profiles)
{
    register_ids(full(profiles));
    const mapping all = take_mapping();
    ASSERT_EQ(all.size(), 256U);
    EXPECT_EQ(all.front(), (std::pair<int32_t, int32_t>{1, 0}));
    EXPECT_EQ(all.back(), (std::pair<int32_t, int32_t>{256, 0}));
}

TEST(mapping, without_profiles_is_null_and_no_failure)
{
    register_ids({{cf_policies, 20}});
    errno = EIO;
    EXPECT_EQ(dump_utm_profile_mapping(), nullptr);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(mapping, first_use_after_boot_clears_the_registry)
{
    set_slots({{profiles, 7}});
    EXPECT_EQ(dump_utm_profile_mapping(), nullptr);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(slot(profiles), 0U);
    EXPECT_TRUE(exists(registry_marker));
}

TEST(mapping, registry_that_cannot_be_initialised)
{
    wrap::plan plan;
    plan.fail("open", 1, EROFS);
    EXPECT_EQ(dump_utm_profile_mapping(), nullptr);
    EXPECT_EQ(errno, EROFS);
}

TEST(mapping, semaphore_that_cannot_be_opened)
{
    register_three_profiles();
    wrap::plan plan;
    plan.fail("semget", wrap::every, EACCES);
    EXPECT_EQ(dump_utm_profile_mapping(), nullptr);
    EXPECT_EQ(errno, EACCES);
}

TEST(mapping, registry_that_cannot_be_locked)
{
    register_three_profiles();
    wrap::plan plan;
    plan.fail("semop", 1, EACCES);
    EXPECT_EQ(dump_utm_profile_mapping(), nullptr);
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(plan.count("shmat"), 0);
}

TEST(mapping, registry_that_cannot_be_attached_leaves_no_line)
{
    register_three_profiles();
    wrap::plan plan;
    plan.fail("shmat", 1, ENOMEM);
    EXPECT_EQ(dump_utm_profile_mapping(), nullptr);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(semaphore_value(), 1);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(mapping, that_cannot_be_unlocked_is_returned)
{
    register_three_profiles();
    wrap::plan plan;
    plan.fail("semop", 2, EACCES);
    EXPECT_EQ(take_mapping(), (mapping{{7, 20}, {5, 0}, {INT32_MIN, 22}}));
    EXPECT_EQ(utm_id_config_unlock(semaphore()), 0);
}

// Deliberate: a mapping that cannot be unlocked is returned even when it is empty.
TEST(mapping, that_cannot_be_unlocked_is_returned_even_when_it_is_empty)
{
    register_ids({});
    wrap::plan plan;
    plan.fail("semop", 2, EACCES);
    EXPECT_EQ(take_mapping(), mapping{});
    EXPECT_EQ(plan.count("shmdt"), 1);
    EXPECT_EQ(utm_id_config_unlock(semaphore()), 0);
}

// What a mapping prints and returns whose nth allocation fails, and that it leaves the registry attached and locked.
struct without_memory {
    std::string printed;
    utm_profile_mapping* head = nullptr;
    int cause = 0;

    explicit without_memory(int nth)
    {
        wrap::plan plan;
        plan.fail("malloc", nth, ENOMEM);
        printed = printed_by([&] {
            head = dump_utm_profile_mapping();
            cause = errno;
        });
        EXPECT_EQ(plan.count("shmdt"), 0);
        EXPECT_EQ(semaphore_value(), 0);
        EXPECT_EQ(utm_id_config_unlock(semaphore()), 0);
        EXPECT_FALSE(exists("/tmp/utm_log"));
    }
};

// Deliberate: a mapping without memory leaves the registry attached and locked.
TEST(mapping, without_a_head_the_registry_stays_attached_and_locked)
{
    register_three_profiles();
    const without_memory got(1);
    EXPECT_EQ(got.head, nullptr);
    EXPECT_EQ(got.cause, ENOMEM);
    EXPECT_TRUE(std::regex_match(got.printed, std::regex("dump_utm_profile_mapping\\([1-9][0-9]*\\) list init fail\n")))
        << got.printed;
}

TEST(mapping, without_a_first_node_is_null)
{
    register_three_profiles();
    const without_memory got(2);
    EXPECT_EQ(got.head, nullptr);
    EXPECT_EQ(got.cause, ENOMEM);
    EXPECT_EQ(got.printed, no_node);
}

// Deliberate: a mapping that runs out of memory on the way keeps the registry too, and what it has is returned.
TEST(mapping, without_a_second_node_holds_the_first)
{
    register_three_profiles();
    const without_memory got(3);
    ASSERT_NE(got.head, nullptr);
    EXPECT_EQ(entries(got.head), (mapping{{7, 20}}));
    EXPECT_EQ(got.printed, no_node);
    utm_free_profile_mapping_list(got.head);
}

TEST(mapping, without_a_third_node_holds_two)
{
    register_three_profiles();
    const without_memory got(4);
    ASSERT_NE(got.head, nullptr);
    EXPECT_EQ(entries(got.head), (mapping{{7, 20}, {5, 0}}));
    EXPECT_EQ(got.printed, no_node);
    utm_free_profile_mapping_list(got.head);
}

TEST(mapping, empty_one_releases_its_head)
{
    register_ids({});
    wrap::plan plan;
    EXPECT_EQ(dump_utm_profile_mapping(), nullptr);
    EXPECT_EQ(plan.count("malloc"), 1);
    EXPECT_EQ(plan.count("free"), 1);
}

TEST(mapping_node, has_both_identifiers_0)
{
    utm_profile_mapping* node = create_profile_mapping_node();
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->profile_id, 0);
    EXPECT_EQ(node->cf_policy_id, 0);
    free(node);
}

TEST(mapping_node, without_memory_is_null_with_a_line_on_standard_output)
{
    wrap::plan plan;
    plan.fail("malloc", 1, ENOMEM);
    utm_profile_mapping* node = nullptr;
    EXPECT_EQ(printed_by([&] { node = create_profile_mapping_node(); }), no_node);
    EXPECT_EQ(node, nullptr);
}

TEST(mapping_node, stands_in_24_bytes)
{
    utm_profile_mapping* node = create_profile_mapping_node();
    node->prev = reinterpret_cast<utm_profile_mapping*>(0x11);
    node->next = reinterpret_cast<utm_profile_mapping*>(0x22);
    node->profile_id = 0x33;
    node->cf_policy_id = 0x44;
    EXPECT_EQ(address_at<>(node, 0), reinterpret_cast<void*>(0x11));
    EXPECT_EQ(address_at<>(node, 8), reinterpret_cast<void*>(0x22));
    EXPECT_EQ(u32_at(node, 16), 0x33U);
    EXPECT_EQ(u32_at(node, 20), 0x44U);
    free(node);
}

TEST(free_mapping, releases_every_node_from_the_last_to_the_first_and_then_the_head)
{
    register_three_profiles();
    utm_profile_mapping* head = dump_utm_profile_mapping();
    ASSERT_NE(head, nullptr);
    auto* const nowhere = reinterpret_cast<utm_profile_mapping*>(0x10); // a step forward ends here
    for (utm_profile_mapping* node = head->prev; node != head; node = node->prev)
        node->next = nowhere;
    head->next = nowhere;
    wrap::plan plan;
    utm_free_profile_mapping_list(head);
    EXPECT_EQ(plan.count("free"), 4);
}

TEST(free_mapping, null_does_nothing)
{
    wrap::plan plan;
    utm_free_profile_mapping_list(nullptr);
    EXPECT_EQ(plan.calls(), std::vector<std::string>{});
}

} // namespace
