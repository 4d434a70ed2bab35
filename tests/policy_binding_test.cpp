// Binding a policy to a user profile, the same for content-filter and application policies.

#include "kqutm/profile.h"

#include "tests/sandbox/rules.h"

#include <gtest/gtest.h>
#include <ostream>

namespace {

struct binding {
    const char* name; // of the family
    int32_t (*run)(uint32_t profile, uint32_t policy);
    const char* daemon;
    size_t record_size;
    uint8_t code;
    uint32_t policy; // as register_profile_and_policies registers it
    uint32_t other_policy;
    size_t bindings;
    size_t policies;

    int32_t operator()(uint32_t profile) const { return run(profile, policy); }

    request asked(uint32_t profile) const { return request(record_size, code).u32(8, profile).u32(12, policy); }

    // It names the profile where it says policy.
    std::string refused_line() const
    {
        return "add " + std::string(name) + " policy(7) to user profile(" + std::to_string(policy) + ") fail\n";
    }

    friend std::ostream& operator<<(std::ostream& to, const binding& binding) { return to << binding.name; }
};

class bindings : public testing::TestWithParam<binding> {
protected:
    bindings() { register_profile_and_policies(); }

    const binding& bind = GetParam();
};

INSTANTIATE_TEST_SUITE_P(all, bindings,
                         testing::Values(binding{.name = "cf",
                                                 .run =
                                                     [](uint32_t profile, uint32_t policy) {
                                                         return utm_user_profile_add_cf_policy(
                                                             static_cast<int32_t>(profile),
                                                             static_cast<int32_t>(policy));
                                                     },
                                                 .daemon = cf_path,
                                                 .record_size = 2056,
                                                 .code = 7,
                                                 .policy = 20,
                                                 .other_policy = 30,
                                                 .bindings = cf_bindings,
                                                 .policies = cf_policies},
                                         binding{.name = "app",
                                                 .run = utm_user_profile_add_app_policy,
                                                 .daemon = app_path,
                                                 .record_size = 136,
                                                 .code = 45,
                                                 .policy = 30,
                                                 .other_policy = 20,
                                                 .bindings = app_bindings,
                                                 .policies = app_policies}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(bindings, request_names_the_profile_before_the_policy)
{
    config_daemons daemons;
    EXPECT_EQ(bind(7), 0);
    EXPECT_EQ(daemons.told(), paths{bind.daemon});
    EXPECT_EQ(daemons.request_of(bind.daemon), bind.asked(7));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(bindings, stands_in_the_slot_of_the_profile)
{
    config_daemons daemons;
    slots expected = all_slots();
    expected[bind.bindings + 3] = bind.policy;
    EXPECT_EQ(bind(7), 0);
    EXPECT_EQ(all_slots(), expected);
    EXPECT_EQ(semaphore_value(), 1);
}

TEST_P(bindings, replaces_an_earlier_one_without_freeing_its_policy)
{
    config_daemons daemons;
    set_slots({{bind.bindings + 3, 21}, {bind.policies + 1, 21}});
    EXPECT_EQ(bind(7), 0);
    EXPECT_EQ(slot(bind.bindings + 3), bind.policy);
    EXPECT_EQ(slot(bind.policies + 1), 21U);
}

TEST_P(bindings, first_slot_with_the_profile_is_meant)
{
    config_daemons daemons;
    set_slots({{profiles + 1, 7}});
    EXPECT_EQ(bind(7), 0);
    EXPECT_EQ(slot(bind.bindings + 1), bind.policy);
    EXPECT_EQ(slot(bind.bindings + 3), 0U);
}

TEST_P(bindings, daemon_is_told_after_the_registry_is_free_again)
{
    sim::scripted_daemon daemon(bind.daemon, look_and_answer([&] {
                                    EXPECT_EQ(semaphore_value(), 1);
                                    EXPECT_EQ(slot(bind.bindings + 3), bind.policy);
                                }));
    EXPECT_EQ(bind(7), 0);
    EXPECT_EQ(daemon.requests().size(), 1U);
}

// Deliberate: a binding leaves the segment attached.
TEST_P(bindings, leaves_the_segment_attached)
{
    config_daemons daemons;
    wrap::plan plan;
    EXPECT_EQ(bind(7), 0);
    EXPECT_EQ(plan.count("shmat"), 3) << "two checks and the binding";
    EXPECT_EQ(plan.count("shmdt"), 2) << "the checks alone";
}

// Deliberate: the line names the profile where it says policy, and the policy where it says profile.
TEST_P(bindings, refusal_is_logged_and_the_binding_stays)
{
    config_daemons daemons({.cf = 5, .app = 5});
    expect_failure(bind(7), EREMOTEIO);
    EXPECT_EQ(slot(bind.bindings + 3), bind.policy);
    EXPECT_EQ(appcf_log(), refused(5) + bind.refused_line());
}

TEST_P(bindings, absence_is_logged_and_the_binding_stays)
{
    impatient caller;
    expect_failure(bind(7), ENOENT);
    EXPECT_EQ(slot(bind.bindings + 3), bind.policy);
    EXPECT_EQ(appcf_log(), unreachable() + bind.refused_line());
}

TEST_P(bindings, silence_is_logged_and_the_binding_stays)
{
    config_daemons daemons;
    unheard caller;
    expect_failure(bind(7), ETIMEDOUT);
    EXPECT_EQ(slot(bind.bindings + 3), bind.policy);
    EXPECT_EQ(appcf_log(), unanswered + bind.refused_line());
}

TEST_P(bindings, unknown_profile_is_not_sent)
{
    config_daemons daemons;
    wrap::plan plan;
    expect_failure(bind.run(8, 99), ENOENT);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), "user profile id(8) not found\n") << "the policy is not looked for";
    EXPECT_EQ(plan.count("shmat"), 1);
}

TEST_P(bindings, unknown_policy_is_not_sent)
{
    config_daemons daemons;
    expect_failure(bind.run(7, bind.other_policy), ENOENT);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(slot(bind.bindings + 3), 0U);
    EXPECT_EQ(appcf_log(),
              std::string(bind.name) + " policy id(" + std::to_string(bind.other_policy) + ") not found\n");
}

// Deliberate: a profile that has left the registry since the check is still bound in the daemon.
TEST_P(bindings, profile_that_has_left_the_registry_is_still_sent)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.before("semop", 5, [] { set_slots({{profiles + 3, 0}}); }); // two for each check, then the lock of the binding
    EXPECT_EQ(bind(7), 0);
    EXPECT_EQ(daemons.request_of(bind.daemon), bind.asked(7));
    slots expected(1280, 0);
    expected[cf_policies + 5] = 20;
    expected[app_policies + 6] = 30;
    EXPECT_EQ(all_slots(), expected);
}

TEST_P(bindings, profile_0_is_bound_in_the_first_free_slot)
{
    config_daemons daemons;
    set_slots({{profiles, 5}});
    EXPECT_EQ(bind(0), 0);
    EXPECT_EQ(slot(bind.bindings + 1), bind.policy);
    EXPECT_EQ(daemons.request_of(bind.daemon), bind.asked(0));
}

// Deliberate: a binding that cannot lock the registry, or unlock it again, tells nobody and reports success.
TEST_P(bindings, registry_that_cannot_be_locked_reads_as_success)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("semop", 5, EACCES);
    EXPECT_EQ(bind(7), 0);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(slot(bind.bindings + 3), 0U);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(bindings, semaphore_that_cannot_be_opened_reads_as_success)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("semget", wrap::every, EACCES);
    EXPECT_EQ(bind(7), 0);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(slot(bind.bindings + 3), 0U);
}

TEST_P(bindings, registry_that_cannot_be_unlocked_reads_as_success)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("semop", 6, EACCES);
    EXPECT_EQ(bind(7), 0);
    EXPECT_EQ(plan.count("shmdt"), 2) << "the checks alone";
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(slot(bind.bindings + 3), bind.policy) << "recorded, but not told";
}

TEST_P(bindings, registry_that_cannot_be_attached)
{
    config_daemons daemons;
    std::string expected;
    for (int nth : {1, 2, 3}) { // for the check of the profile, that of the policy, and the binding
        wrap::plan plan;
        plan.fail("shmat", nth, ENOMEM);
        expect_failure(bind(7), ENOMEM);
        EXPECT_EQ(plan.count("shmat"), nth);
        EXPECT_EQ(semaphore_value(), 1);
        expected += attach_failed;
    }
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(slot(bind.bindings + 3), 0U);
    EXPECT_EQ(appcf_log(), expected);
}

TEST_P(bindings, wait_for_the_lock_goes_on_after_a_signal)
{
    config_daemons daemons;
    wrap::plan plan;
    plan.fail("semop", 5, EINTR);
    EXPECT_EQ(bind(7), 0);
    EXPECT_EQ(slot(bind.bindings + 3), bind.policy);
    EXPECT_EQ(daemons.told(), paths{bind.daemon});
}

} // namespace
