#include "kqutm/profile.h"
#include "kqutm/registry.h"

#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/registry.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

using paths = std::vector<std::string>;

constexpr uint8_t mac[] = {0x00, 0xff, 0x10, 0x20, 0x00, 0x01};
constexpr char attach_failed[] = "attach_utm_id_data_shm() fail\n";

const paths create_order = {cf_path, user_profile_path, app_path};
const paths change_order = {cf_path, app_path, user_profile_path};

std::string refused(int status)
{
    return "[send_utm_config_event]error code = " + std::to_string(status) + "\n";
}

// What the library logs of a daemon that is not there.
std::string unreachable()
{
    std::string log;
    for (int attempt = 0; attempt < 22; attempt++)
        log += "[send_utm_config_event]connect fail: No such file or directory\n";
    return log;
}

bool is_registered(uint32_t id)
{
    const slots all = all_slots();
    return std::find(all.begin(), all.begin() + 256, id) != all.begin() + 256;
}

// Registers identifiers without clearing them at the first use.
void register_ids(const std::map<size_t, uint32_t>& values)
{
    write_file("/tmp/utm_user_profile_shm", "");
    set_slots(values);
}

// A plan under which no test waits for an absent daemon.
class impatient : public wrap::plan {
public:
    impatient() { answer("usleep", wrap::every, 0); }
};

TEST(create, tells_three_daemons_and_returns_the_id)
{
    config_daemons daemons;
    EXPECT_EQ(utm_user_profile_create(7), 7);
    EXPECT_EQ(daemons.told(), create_order);
    EXPECT_TRUE(is_registered(7));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(create, chosen_id_is_the_time)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.answer("time", wrap::every, 1700000000);
    EXPECT_EQ(utm_user_profile_create(0), 1700000000);
    EXPECT_EQ(u32_at(daemons.visits()[0].request, 8), 1700000000U);
    EXPECT_EQ(u32_at(daemons.visits()[1].request, 4), 1700000000U);
    EXPECT_EQ(u32_at(daemons.visits()[2].request, 8), 1700000000U);
}

TEST(create, first_use_after_boot_clears_the_registry)
{
    config_daemons daemons;
    set_slots({{profiles, 5}, {cf_bindings, 6}, {app_policies + 255, 7}});
    EXPECT_EQ(utm_user_profile_create(8), 8);
    slots expected(1280, 0);
    expected[profiles] = 8;
    EXPECT_EQ(all_slots(), expected);
}

TEST(create, removed_marker_clears_the_registry_again)
{
    config_daemons daemons;
    ASSERT_EQ(utm_user_profile_create(5), 5);
    std::filesystem::remove("/tmp/utm_user_profile_shm");
    EXPECT_EQ(utm_user_profile_create(6), 6);
    EXPECT_FALSE(is_registered(5));
    EXPECT_EQ(slot(profiles), 6U);
}

TEST(create, finds_the_bindings_that_an_earlier_profile_left)
{
    config_daemons daemons;
    register_ids({{cf_bindings, 20}, {app_bindings, 30}});
    ASSERT_EQ(utm_user_profile_create(5), 5);
    EXPECT_EQ(slot(cf_bindings), 20U);
    EXPECT_EQ(slot(app_bindings), 30U);
}

// Deliberate: all three daemons are always told, each refusal releases the identifier, and the application daemon alone
// decides the result. An identifier that an earlier refusal released is still returned.
TEST(create, id_that_the_content_filter_refused_is_returned_released)
{
    config_daemons daemons({.cf = 5});
    EXPECT_EQ(utm_user_profile_create(7), 7);
    EXPECT_EQ(daemons.told(), create_order);
    EXPECT_FALSE(is_registered(7));
    EXPECT_EQ(appcf_log(), refused(5));
}

TEST(create, id_is_returned_released_when_the_content_filter_is_absent)
{
    config_daemons daemons({.cf = absent});
    impatient caller;
    EXPECT_EQ(utm_user_profile_create(7), 7);
    EXPECT_EQ(daemons.told(), (paths{user_profile_path, app_path}));
    EXPECT_FALSE(is_registered(7));
    EXPECT_EQ(appcf_log(), unreachable());
}

TEST(create, id_that_the_user_profile_daemon_refused_is_returned_released)
{
    config_daemons daemons({.user_profile = 2});
    EXPECT_EQ(utm_user_profile_create(7), 7);
    EXPECT_EQ(daemons.told(), create_order);
    EXPECT_FALSE(is_registered(7));
    EXPECT_EQ(appcf_log(), refused(2));
}

TEST(create, refusal_of_the_application_daemon_is_the_result)
{
    config_daemons daemons({.app = 9});
    EXPECT_EQ(utm_user_profile_create(7), -1);
    EXPECT_EQ(errno, EREMOTEIO);
    EXPECT_EQ(daemons.told(), create_order);
    EXPECT_FALSE(is_registered(7));
    EXPECT_EQ(appcf_log(), refused(9));
}

TEST(create, absence_of_the_application_daemon_is_the_result)
{
    config_daemons daemons({.app = absent});
    impatient caller;
    EXPECT_EQ(utm_user_profile_create(7), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(daemons.told(), (paths{cf_path, user_profile_path}));
    EXPECT_FALSE(is_registered(7));
    EXPECT_EQ(appcf_log(), unreachable());
}

TEST(create, every_refusal_releases_the_id_again)
{
    config_daemons daemons({.cf = 1, .app = 3, .user_profile = 4});
    wrap::plan plan;
    EXPECT_EQ(utm_user_profile_create(7), -1);
    EXPECT_EQ(daemons.told(), create_order);
    EXPECT_EQ(plan.count("semop"), 2 + 2 + 3 * 2) << "clearing, reserving and three releases, each locked";
    EXPECT_EQ(appcf_log(), refused(1) + refused(4) + refused(3));
}

TEST(create, id_that_is_taken)
{
    config_daemons daemons;
    register_ids({{profiles, 7}});
    EXPECT_EQ(utm_user_profile_create(7), -1);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_TRUE(is_registered(7));
    EXPECT_EQ(appcf_log(), "[utm_user_profile_create]can not get unique id\n");
}

TEST(create, registry_that_is_full)
{
    config_daemons daemons;
    std::map<size_t, uint32_t> all;
    for (uint32_t i = 0; i < 256; i++)
        all[profiles + i] = i + 1;
    register_ids(all);
    EXPECT_EQ(utm_user_profile_create(1000), -1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), "[utm_user_profile_create]can not get unique id\n");
}

TEST(create, negative_id_is_reserved_and_refused)
{
    config_daemons daemons;
    EXPECT_EQ(utm_user_profile_create(-5), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_TRUE(is_registered(static_cast<uint32_t>(-5)));
    EXPECT_EQ(appcf_log(), "[utm_user_profile_create]can not get unique id\n");
}

TEST(create, registry_that_cannot_be_initialised_leaves_no_line_of_its_own)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("open", 1, EROFS);
    EXPECT_EQ(utm_user_profile_create(7), -1);
    EXPECT_EQ(errno, EROFS);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), "open /tmp/utm_user_profile_shm fail\n");
}

TEST(create, registry_that_cannot_be_locked)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("semop", wrap::every, EACCES);
    EXPECT_EQ(utm_user_profile_create(7), -1);
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), "[utm_user_profile_create]can not get unique id\n");
}

TEST(create, registry_that_cannot_be_attached)
{
    config_daemons daemons;
    write_file("/tmp/utm_user_profile_shm", "");
    wrap::plan plan;
    plan.fail("shmat", wrap::every, ENOMEM);
    EXPECT_EQ(utm_user_profile_create(7), -1);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(appcf_log(), std::string(attach_failed) + "[utm_user_profile_create]can not get unique id\n");
}

TEST(delete_profile, tells_three_daemons_and_frees_everything_bound)
{
    config_daemons daemons;
    register_ids({{profiles + 4, 7},
                  {profiles + 5, 8},
                  {cf_bindings + 4, 20},
                  {cf_bindings + 5, 20},
                  {app_bindings + 4, 30},
                  {cf_policies, 20},
                  {cf_policies + 100, 21},
                  {app_policies + 1, 30},
                  {app_policies + 2, 20}});
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_EQ(daemons.told(), change_order);
    slots expected(1280, 0);
    expected[profiles + 5] = 8;
    expected[cf_bindings + 5] = 20; // another profile's binding stays, though its policy is gone
    expected[cf_policies + 100] = 21;
    expected[app_policies + 2] = 20;
    EXPECT_EQ(all_slots(), expected);
    EXPECT_EQ(semaphore_value(), 1);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(delete_profile, bound_policies_are_freed_in_every_slot)
{
    config_daemons daemons;
    register_ids({{profiles, 7}, {cf_bindings, 20}, {app_bindings, 30}});
    for (size_t i : {0U, 3U, 128U, 255U})
        set_slots({{cf_policies + i, 20}, {app_policies + i, 30}});
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_EQ(all_slots(), slots(1280, 0));
}

TEST(delete_profile, without_bound_policies_the_tables_are_not_touched)
{
    config_daemons daemons;
    register_ids({{profiles, 7}, {cf_policies + 9, 20}, {app_policies + 9, 30}});
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_EQ(slot(cf_policies + 9), 20U);
    EXPECT_EQ(slot(app_policies + 9), 30U);
}

TEST(delete_profile, binding_of_2_to_the_31_counts_as_none)
{
    config_daemons daemons;
    register_ids({{profiles, 7}, {cf_bindings, 0x80000000}, {cf_policies, 0x80000000}});
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_EQ(slot(profiles), 0U);
    EXPECT_EQ(slot(cf_bindings), 0x80000000U);
    EXPECT_EQ(slot(cf_policies), 0x80000000U);
}

TEST(delete_profile, first_slot_with_the_id_is_meant)
{
    config_daemons daemons;
    register_ids({{profiles + 1, 7}, {profiles + 2, 7}});
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_EQ(slot(profiles + 1), 0U);
    EXPECT_EQ(slot(profiles + 2), 7U);
}

TEST(delete_profile, unknown_id_is_not_sent)
{
    config_daemons daemons;
    register_ids({{profiles, 7}});
    EXPECT_EQ(utm_user_profile_delete(8), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), "delete user profile fail(id(8) not found)\n");
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(delete_profile, unknown_negative_id_is_logged_as_passed)
{
    EXPECT_EQ(utm_user_profile_delete(-3), -1);
    EXPECT_EQ(appcf_log(), "delete user profile fail(id(-3) not found)\n");
}

constexpr char delete_failed[] = "delete user profile fail(id = 7)\n";

void register_a_bound_profile()
{
    register_ids({{profiles, 7}, {cf_bindings, 20}, {app_bindings, 30}, {cf_policies + 1, 20}, {app_policies + 1, 30}});
}

// Deliberate: the profile's slot is freed as soon as one of the two daemons has accepted.
TEST(delete_profile, slot_is_freed_when_the_content_filter_alone_accepts)
{
    config_daemons daemons({.app = 3});
    register_a_bound_profile();
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_EQ(daemons.told(), change_order);
    EXPECT_EQ(slot(profiles), 0U);
    EXPECT_EQ(slot(cf_bindings), 0U);
    EXPECT_EQ(slot(cf_policies + 1), 0U);
    EXPECT_EQ(slot(app_bindings), 30U);
    EXPECT_EQ(slot(app_policies + 1), 30U);
    EXPECT_EQ(appcf_log(), refused(3) + delete_failed);
}

TEST(delete_profile, slot_is_freed_when_the_application_daemon_alone_accepts)
{
    config_daemons daemons({.cf = 3});
    register_a_bound_profile();
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_EQ(slot(profiles), 0U);
    EXPECT_EQ(slot(cf_bindings), 20U);
    EXPECT_EQ(slot(cf_policies + 1), 20U);
    EXPECT_EQ(slot(app_bindings), 0U);
    EXPECT_EQ(slot(app_policies + 1), 0U);
    EXPECT_EQ(appcf_log(), refused(3) + delete_failed);
}

TEST(delete_profile, slot_stays_when_both_refuse)
{
    config_daemons daemons({.cf = 3, .app = 4});
    register_a_bound_profile();
    const slots before = all_slots();
    EXPECT_EQ(utm_user_profile_delete(7), 0) << "the user-profile daemon decides";
    EXPECT_EQ(daemons.told(), change_order);
    EXPECT_EQ(all_slots(), before);
    EXPECT_EQ(appcf_log(), refused(3) + delete_failed + refused(4) + delete_failed);
}

TEST(delete_profile, refusal_of_the_user_profile_daemon_is_the_result)
{
    config_daemons daemons({.user_profile = 6});
    register_a_bound_profile();
    EXPECT_EQ(utm_user_profile_delete(7), -1);
    EXPECT_EQ(errno, EREMOTEIO);
    EXPECT_EQ(slot(profiles), 0U);
    EXPECT_EQ(appcf_log(), refused(6) + delete_failed);
}

TEST(delete_profile, absent_daemons_do_not_stop_it)
{
    config_daemons daemons({.cf = absent, .app = absent, .user_profile = absent});
    register_a_bound_profile();
    impatient caller;
    EXPECT_EQ(utm_user_profile_delete(7), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(slot(profiles), 7U);
    EXPECT_EQ(appcf_log(),
              unreachable() + delete_failed + unreachable() + delete_failed + unreachable() + delete_failed);
}

TEST(delete_profile, lock_is_held_until_the_last_answer)
{
    config_daemons daemons;
    register_ids({{profiles, 7}});
    wrap::plan plan;
    std::vector<int> values;
    plan.before("read", wrap::every, [&] { values.push_back(semaphore_value()); });
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_EQ(values, (std::vector{0, 0, 0}));
    EXPECT_EQ(plan.count("semop"), 2);
    EXPECT_EQ(plan.count("shmat"), 1);
}

TEST(delete_profile, registry_that_cannot_be_locked_leaves_no_line)
{
    config_daemons daemons;
    register_ids({{profiles, 7}});
    for (const char* function : {"ftok", "semget", "semop"}) {
        wrap::plan plan;
        plan.fail(function, wrap::every, EACCES);
        EXPECT_EQ(utm_user_profile_delete(7), -1) << function;
        EXPECT_EQ(errno, EACCES);
        EXPECT_EQ(plan.count("shmget"), 0);
    }
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(delete_profile, registry_that_cannot_be_attached)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("shmat", 1, ENOMEM);
    EXPECT_EQ(utm_user_profile_delete(7), -1);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), attach_failed);
    EXPECT_EQ(semaphore_value(), 1);
}

TEST(delete_profile, does_not_clear_the_registry)
{
    config_daemons daemons;
    set_slots({{profiles, 7}, {profiles + 1, 8}});
    EXPECT_EQ(utm_user_profile_delete(7), 0);
    EXPECT_TRUE(is_registered(8));
    EXPECT_FALSE(exists("/tmp/utm_user_profile_shm"));
}

struct device_operation {
    int32_t (*run)(int32_t id, const uint8_t* mac);
    uint8_t code;
    const char* refused;
    const char* refused_by_application;
};
constexpr device_operation device_operations[] = {
    {utm_user_profile_add_dev, 3, "add mac to user profile fail(id = 7)\n",
     "add mac to user profile(app) fail(id = 7)\n"},
    {utm_user_profile_del_dev, 4, "delete mac from user profile fail(id = 7)\n",
     "delete mac from user profile(app) fail(id = 7)\n"},
};

class devices : public testing::TestWithParam<device_operation> {};
INSTANTIATE_TEST_SUITE_P(add_and_delete, devices, testing::ValuesIn(device_operations),
                         [](const auto& test) { return test.param.code == 3 ? "add" : "del"; });

TEST_P(devices, three_daemons_are_told_the_address)
{
    config_daemons daemons;
    register_ids({{profiles, 7}});
    EXPECT_EQ(GetParam().run(7, mac), 0);
    EXPECT_EQ(daemons.told(), change_order);
    for (const sim::visit& visit : daemons.visits()) {
        const size_t id_at = visit.path == user_profile_path ? 4 : 8;
        EXPECT_EQ(visit.request[0], GetParam().code);
        EXPECT_EQ(u32_at(visit.request, id_at), 7U);
        EXPECT_EQ(bytes_of(visit.request.data() + id_at + 4, 6), bytes_of(mac, 6));
    }
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(devices, unknown_profile_is_not_sent)
{
    config_daemons daemons;
    EXPECT_EQ(GetParam().run(7, mac), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), "user profile id(7) not found\n");
}

TEST_P(devices, refusals_of_the_first_two_do_not_count)
{
    config_daemons daemons({.cf = 1, .app = 2});
    register_ids({{profiles, 7}});
    EXPECT_EQ(GetParam().run(7, mac), 0);
    EXPECT_EQ(daemons.told(), change_order);
    EXPECT_EQ(appcf_log(), refused(1) + GetParam().refused + refused(2) + GetParam().refused_by_application);
}

TEST_P(devices, refusal_of_the_user_profile_daemon_is_the_result)
{
    config_daemons daemons({.user_profile = 3});
    register_ids({{profiles, 7}});
    EXPECT_EQ(GetParam().run(7, mac), -1);
    EXPECT_EQ(errno, EREMOTEIO);
    EXPECT_EQ(daemons.told(), change_order);
    EXPECT_EQ(appcf_log(), refused(3) + GetParam().refused);
}

TEST_P(devices, absent_user_profile_daemon_is_the_result)
{
    config_daemons daemons({.user_profile = absent});
    register_ids({{profiles, 7}});
    impatient caller;
    EXPECT_EQ(GetParam().run(7, mac), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(appcf_log(), unreachable() + GetParam().refused);
}

TEST_P(devices, registry_that_cannot_be_locked_does_not_stop_it)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("semop", 1, EACCES);
    EXPECT_EQ(GetParam().run(7, mac), 0);
    EXPECT_EQ(daemons.told(), change_order);
}

TEST_P(devices, registry_that_cannot_be_attached_stops_it)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("shmat", 1, ENOMEM);
    EXPECT_EQ(GetParam().run(7, mac), -1);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), attach_failed);
}

TEST_P(devices, null_address_is_refused_without_a_trace)
{
    config_daemons daemons;
    register_ids({{profiles, 7}});
    EXPECT_EQ(GetParam().run(7, nullptr), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(flush, deletes_every_profile_in_slot_order)
{
    config_daemons daemons;
    register_ids({{profiles, 9}, {profiles + 3, 2}, {profiles + 255, 5}});
    EXPECT_EQ(utm_user_profile_flush(), 0);
    const std::vector<sim::visit> visits = daemons.visits();
    ASSERT_EQ(visits.size(), 9U);
    for (size_t i = 0; i < visits.size(); i++) {
        const bool user_profile = i % 3 == 2;
        EXPECT_EQ(visits[i].path, change_order[i % 3]);
        EXPECT_EQ(visits[i].request[0], 2);
        EXPECT_EQ(u32_at(visits[i].request, user_profile ? 4 : 8), (std::vector{9U, 2U, 5U})[i / 3]);
    }
    EXPECT_EQ(all_slots(), slots(1280, 0));
}

TEST(flush, empty_registry_sends_nothing)
{
    config_daemons daemons;
    EXPECT_EQ(utm_user_profile_flush(), 0);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(flush, negative_ids_are_left_alone)
{
    config_daemons daemons;
    register_ids({{profiles, 0x80000000}, {profiles + 1, 3}});
    EXPECT_EQ(utm_user_profile_flush(), 0);
    EXPECT_EQ(daemons.told(), change_order);
    EXPECT_EQ(slot(profiles), 0x80000000U);
}

TEST(flush, refusals_are_not_reported)
{
    config_daemons daemons({.cf = 1, .app = 1, .user_profile = 1});
    register_ids({{profiles, 7}, {profiles + 1, 8}});
    EXPECT_EQ(utm_user_profile_flush(), 0);
    EXPECT_EQ(daemons.told().size(), 6U);
    EXPECT_TRUE(is_registered(7));
    EXPECT_TRUE(is_registered(8));
}

TEST(flush, lock_is_free_between_the_deletions)
{
    config_daemons daemons;
    register_ids({{profiles, 7}, {profiles + 1, 8}});
    wrap::plan plan;
    EXPECT_EQ(utm_user_profile_flush(), 0);
    EXPECT_EQ(plan.count("semop"), 6) << "snapshot and two deletions, each locked";
    EXPECT_EQ(semaphore_value(), 1);
}

// Deliberate: a flush that cannot lock the registry, or unlock it again, deletes nothing and reports success.
TEST(flush, registry_that_cannot_be_locked_or_unlocked_deletes_nothing)
{
    config_daemons daemons;
    register_ids({{profiles, 7}});
    for (const char* function : {"ftok", "semget", "semop"}) {
        wrap::plan plan;
        plan.fail(function, wrap::every, EACCES);
        EXPECT_EQ(utm_user_profile_flush(), 0) << function;
    }
    wrap::plan plan;
    plan.fail("semop", 2, EIDRM);
    EXPECT_EQ(utm_user_profile_flush(), 0);
    EXPECT_EQ(plan.count("semop"), 2);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_TRUE(is_registered(7));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(flush, registry_that_cannot_be_attached)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("shmat", 1, ENOMEM);
    EXPECT_EQ(utm_user_profile_flush(), -1);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(appcf_log(), attach_failed);
    EXPECT_EQ(semaphore_value(), 1);
}

} // namespace
