// Limits of user profiles, set and read, and the usage figures.

#include "kqutm/profile.h"

#include "tests/sandbox/rules.h"

#include <gtest/gtest.h>
#include <ostream>

namespace {

constexpr uint32_t profile = 0x81020304;

struct setter {
    std::string name;
    int32_t (*run)();
    request asked;
    std::string failed;

    friend std::ostream& operator<<(std::ostream& to, const setter& operation) { return to << operation.name; }
};

class setters : public testing::TestWithParam<setter> {};

// Values outside of any plausible range travel as they are.
INSTANTIATE_TEST_SUITE_P(
    all, setters,
    testing::Values(
        setter{"enable", [] { return utm_user_profile_set_daily_limit_enable(profile, 5); },
               app_request(26).u32(8, profile).u32(16, 5), "utm_user_profile_set_daily_limit_enable(5) fail\n"},
        setter{"enable_below_0", [] { return utm_user_profile_set_daily_limit_enable(profile, -1); },
               app_request(26).u32(8, profile).u32(16, 0xffffffff),
               "utm_user_profile_set_daily_limit_enable(-1) fail\n"},
        setter{"limit", [] { return utm_user_profile_set_daily_limit(profile, 120); },
               app_request(28).u32(8, profile).u32(20, 120), "utm_user_profile_set_daily_limit(120) fail\n"},
        setter{"limit_below_0", [] { return utm_user_profile_set_daily_limit(0, -120); },
               app_request(28).u32(20, 0xffffff88), "utm_user_profile_set_daily_limit(-120) fail\n"},
        setter{"weekday", [] { return utm_user_profile_set_weekday_daily_limit(profile, 9, -1); },
               app_request(30).u32(8, profile).u32(12, 9).u32(20, 0xffffffff),
               "utm_user_profile_set_weekday_daily_limit(weekday=9, limit=-1) fail\n"},
        setter{"weekday_below_0", [] { return utm_user_profile_set_weekday_daily_limit(profile, -2, 30); },
               app_request(30).u32(8, profile).u32(12, 0xfffffffe).u32(20, 30),
               "utm_user_profile_set_weekday_daily_limit(weekday=-2, limit=30) fail\n"},
        setter{"extension", [] { return utm_user_profile_set_extended(profile, -15); },
               app_request(32).u32(8, profile).u32(24, 0xfffffff1), "utm_user_profile_set_extended(-15) fail\n"}),
    [](const auto& test) { return test.param.name; });

TEST_P(setters, send_their_values)
{
    config_daemons daemons;
    wrap::plan plan;
    EXPECT_EQ(GetParam().run(), 0);
    EXPECT_EQ(daemons.told(), paths{app_path});
    EXPECT_EQ(daemons.request_of(app_path), GetParam().asked);
    EXPECT_EQ(plan.count("ftok"), 0) << "the registry is not asked";
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(setters, refusal_is_logged)
{
    config_daemons daemons({.app = 2});
    expect_failure(GetParam().run(), EREMOTEIO);
    EXPECT_EQ(appcf_log(), refused(2) + GetParam().failed);
}

TEST_P(setters, absence_is_logged)
{
    impatient caller;
    expect_failure(GetParam().run(), ENOENT);
    EXPECT_EQ(appcf_log(), unreachable() + GetParam().failed);
}

TEST_P(setters, silence_is_logged)
{
    config_daemons daemons;
    unheard caller;
    expect_failure(GetParam().run(), ETIMEDOUT);
    EXPECT_EQ(appcf_log(), unanswered + GetParam().failed);
}

using values = std::vector<uint32_t>;

// Operations that ask for values; those that are not asked for stay as they were.
struct getter {
    std::string name;
    int32_t (*run)(uint32_t* outputs);
    uint8_t code;
    values offsets; // in the response
    std::string failed;

    friend std::ostream& operator<<(std::ostream& to, const getter& operation) { return to << operation.name; }
};

class getters : public testing::TestWithParam<getter> {
protected:
    values outputs = {101, 102, 103};
    const values untouched = outputs;
};

INSTANTIATE_TEST_SUITE_P(
    all, getters,
    testing::Values(getter{"enable",
                           [](uint32_t* outputs) { return utm_user_profile_get_daily_limit_enable(profile, outputs); },
                           27,
                           {224},
                           "utm_user_profile_get_daily_limit_enable fail\n"},
                    getter{"limit",
                           [](uint32_t* outputs) { return utm_user_profile_get_daily_limit(profile, outputs); },
                           29,
                           {228},
                           "utm_user_profile_get_daily_limit fail\n"},
                    getter{"extension",
                           [](uint32_t* outputs) { return utm_user_profile_get_extended(profile, outputs); },
                           33,
                           {232},
                           "utm_user_profile_get_extended fail\n"},
                    getter{"reset_extension",
                           [](uint32_t*) { return utm_user_profile_reset_extended(profile); },
                           34,
                           {},
                           "utm_user_profile_reset_extended fail\n"},
                    getter{"usage",
                           [](uint32_t* outputs) {
                               return utm_user_profile_get_usage(profile, outputs, outputs + 1, outputs + 2);
                           },
                           35,
                           {16, 20, 24},
                           "get utm_user_profile_get_usage fail\n"}),
    [](const auto& test) { return test.param.name; });

TEST_P(getters, copy_what_the_daemon_answered)
{
    sim::bytes record = reply(0);
    values expected = untouched;
    for (size_t i = 0; i < GetParam().offsets.size(); i++) {
        expected[i] = 0xf0000000 + static_cast<uint32_t>(i);
        put_u32(record, GetParam().offsets[i], expected[i]);
    }
    sim::scripted_daemon daemon(app_path, answer(records{record}));
    wrap::plan plan;
    EXPECT_EQ(GetParam().run(outputs.data()), 0);
    EXPECT_EQ(outputs, expected);
    EXPECT_EQ(daemon.requests(), records{app_request(GetParam().code).u32(8, profile)});
    EXPECT_EQ(plan.count("ftok"), 0) << "the registry is not asked";
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

// Deliberate: the head of the list that comes with the answer is not released.
TEST_P(getters, leave_the_head_of_a_list)
{
    sim::scripted_daemon daemon(app_path, answer(0));
    wrap::plan plan;
    EXPECT_EQ(GetParam().run(outputs.data()), 0);
    EXPECT_EQ(plan.calls("malloc"), (std::vector<std::string>{"malloc(832)", "malloc(24)"}));
    EXPECT_EQ(plan.count("free"), 1);
}

TEST_P(getters, refusal_is_logged_and_outputs_stay)
{
    sim::scripted_daemon daemon(app_path, answer(5));
    expect_failure(GetParam().run(outputs.data()), EREMOTEIO);
    EXPECT_EQ(outputs, untouched);
    EXPECT_EQ(appcf_log(), asked_and_refused(5) + GetParam().failed);
}

TEST_P(getters, absence_is_logged_and_outputs_stay)
{
    wrap::plan plan;
    expect_failure(GetParam().run(outputs.data()), ENOENT);
    EXPECT_EQ(outputs, untouched);
    EXPECT_EQ(plan.count("connect"), 1);
    EXPECT_EQ(appcf_log(), asked_nobody + GetParam().failed);
}

TEST_P(getters, silence_is_logged_and_outputs_stay)
{
    sim::scripted_daemon daemon(app_path, answer(0));
    unheard caller;
    expect_failure(GetParam().run(outputs.data()), ETIMEDOUT);
    EXPECT_EQ(outputs, untouched);
    EXPECT_EQ(appcf_log(), asked_in_vain + GetParam().failed);
}

TEST_P(getters, short_answer_is_logged_and_outputs_stay)
{
    sim::scripted_daemon daemon(app_path, answer(records{sim::bytes(831)}));
    expect_failure(GetParam().run(outputs.data()), EPROTO);
    EXPECT_EQ(outputs, untouched);
    EXPECT_EQ(appcf_log(), broken_off + GetParam().failed);
}

TEST_P(getters, without_memory_outputs_stay)
{
    sim::scripted_daemon daemon(app_path, answer(0));
    for (int nth : {1, 2}) {
        wrap::plan plan;
        plan.fail("malloc", nth, ENOMEM);
        expect_failure(GetParam().run(outputs.data()), ENOMEM);
    }
    EXPECT_EQ(outputs, untouched);
    EXPECT_EQ(appcf_log(), "[send_utm_event_and_get_response]response malloc fail\n" + GetParam().failed +
                               "[send_utm_event_and_get_response]app malloc fail\n" + GetParam().failed);
}

TEST(getters_of_one_value, null_is_refused_before_anything_is_sent)
{
    config_daemons daemons;
    expect_failure(utm_user_profile_get_daily_limit_enable(7, nullptr), EINVAL);
    expect_failure(utm_user_profile_get_daily_limit(7, nullptr), EINVAL);
    expect_failure(utm_user_profile_get_extended(7, nullptr), EINVAL);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(get_usage, null_is_refused_before_anything_is_sent)
{
    config_daemons daemons;
    uint32_t a = 1;
    uint32_t b = 2;
    expect_failure(utm_user_profile_get_usage(7, nullptr, &a, &b), EINVAL);
    expect_failure(utm_user_profile_get_usage(7, &a, nullptr, &b), EINVAL);
    expect_failure(utm_user_profile_get_usage(7, &a, &b, nullptr), EINVAL);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(a, 1U);
    EXPECT_EQ(b, 2U);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(reset_extended, any_answer_is_a_success)
{
    sim::scripted_daemon daemon(app_path, answer({reply(2), reply(2), reply(0)}));
    EXPECT_EQ(utm_user_profile_reset_extended(7), 0);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

} // namespace
