// The application entries of a policy.

#include "kqutm/app.h"

#include "tests/sandbox/rules.h"

#include <gtest/gtest.h>

namespace {

constexpr char reset_alone[] = "[utm_app_policy_config_init_block] only reset all APPs\n";
constexpr char reset_failed[] = "[utm_app_policy_config_init_block] set app data reset fail\n";
constexpr char init_failed[] = "[utm_app_policy_config_init_block] set utm_app_policy_config_init_block fail\n";
constexpr char block_failed[] = "[utm_app_policy_config_block] set utm_app_policy_config_block fail\n";
constexpr char ignored[] = "utm_app_policy_config_block: number is less than 1, ignore it!\n";

// Entries of 8 bytes that all differ, and none of them 0.
sim::bytes some_entries(size_t count)
{
    sim::bytes entries;
    for (size_t i = 0; i < count * 8; i++)
        entries.push_back(static_cast<uint8_t>(1 + i % 251));
    return entries;
}

sim::bytes reset_record(uint32_t id)
{
    return app_request(44).u32(8, id);
}

// The record that carries count of the entries from the first on.
sim::bytes entries_record(uint32_t id, size_t first, uint32_t count)
{
    sim::bytes record = app_request(43).u32(8, id).u32(12, count);
    for (size_t i = 0; i < size_t{count} * 8; i++)
        record[16 + i] = static_cast<uint8_t>(1 + (first * 8 + i) % 251);
    return record;
}

// The records of a whole block of entries.
records entries_records(uint32_t id, uint32_t count)
{
    records all;
    for (uint32_t first = 0; first < count; first += 10)
        all.push_back(entries_record(id, first, std::min(10U, count - first)));
    return all;
}

records with_reset(uint32_t id, records others)
{
    others.insert(others.begin(), reset_record(id));
    return others;
}

class app_entries : public testing::TestWithParam<uint32_t> {};
INSTANTIATE_TEST_SUITE_P(counts, app_entries, testing::Values(1, 9, 10, 11, 20, 23, 1000));

TEST_P(app_entries, are_added_ten_to_a_record)
{
    sim::scripted_daemon daemon(app_path, answer(0));
    const auto count = static_cast<int32_t>(GetParam());
    EXPECT_EQ(utm_app_policy_config_block(0x81020304, some_entries(GetParam()).data(), count), 0);
    EXPECT_EQ(daemon.requests(), entries_records(0x81020304, GetParam()));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(app_entries, are_set_after_a_reset)
{
    sim::scripted_daemon daemon(app_path, answer(0));
    const auto count = static_cast<int32_t>(GetParam());
    EXPECT_EQ(utm_app_policy_config_init_block(30, some_entries(GetParam()).data(), count), 0);
    EXPECT_EQ(daemon.requests(), with_reset(30, entries_records(30, GetParam())));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(app_block, eleventh_entry_is_followed_by_72_zero_bytes)
{
    sim::scripted_daemon daemon(app_path, answer(0));
    EXPECT_EQ(utm_app_policy_config_block(30, some_entries(11).data(), 11), 0);
    ASSERT_EQ(daemon.requests().size(), 2U);
    EXPECT_EQ(bytes_of(daemon.requests()[1].data() + 24, 72), sim::bytes(72));
    EXPECT_EQ(u32_at(daemon.requests()[0], 12), 10U);
    EXPECT_EQ(u32_at(daemon.requests()[1], 12), 1U);
}

TEST(app_block, goes_to_the_application_daemon_alone)
{
    config_daemons daemons;
    EXPECT_EQ(utm_app_policy_config_init_block(30, some_entries(1).data(), 1), 0);
    EXPECT_EQ(daemons.told(), (paths{app_path, app_path}));
}

TEST(app_block, registry_is_not_asked)
{
    config_daemons daemons;
    wrap::plan plan;
    EXPECT_EQ(utm_app_policy_config_init_block(99, some_entries(1).data(), 1), 0);
    EXPECT_EQ(plan.count("ftok"), 0);
}

TEST(app_init_block, count_of_0_only_resets)
{
    sim::scripted_daemon daemon(app_path, answer(0));
    EXPECT_EQ(utm_app_policy_config_init_block(30, some_entries(1).data(), 0), 0);
    EXPECT_EQ(daemon.requests(), records{reset_record(30)});
    EXPECT_EQ(appcf_log(), reset_alone);
}

TEST(app_init_block, null_only_resets)
{
    sim::scripted_daemon daemon(app_path, answer(0));
    EXPECT_EQ(utm_app_policy_config_init_block(30, nullptr, 5), 0);
    EXPECT_EQ(daemon.requests(), records{reset_record(30)});
    EXPECT_EQ(appcf_log(), reset_alone);
}

TEST(app_init_block, negative_count_only_resets)
{
    sim::scripted_daemon daemon(app_path, answer(0));
    EXPECT_EQ(utm_app_policy_config_init_block(30, some_entries(1).data(), -3), 0);
    EXPECT_EQ(daemon.requests(), records{reset_record(30)});
    EXPECT_EQ(appcf_log(), reset_alone);
}

TEST(app_init_block, refused_reset_ends_it)
{
    sim::scripted_daemon daemon(app_path, answer(5));
    expect_failure(utm_app_policy_config_init_block(30, some_entries(3).data(), 3), EREMOTEIO);
    EXPECT_EQ(daemon.requests(), records{reset_record(30)});
    EXPECT_EQ(appcf_log(), refused(5) + reset_failed);
}

TEST(app_init_block, absence_at_the_reset_ends_it)
{
    impatient caller;
    expect_failure(utm_app_policy_config_init_block(30, nullptr, 0), ENOENT);
    EXPECT_EQ(appcf_log(), unreachable() + reset_failed);
}

TEST(app_init_block, silence_ends_it_at_the_reset_and_at_each_record)
{
    for (int nth : {1, 2, 3, 4}) {
        sim::scripted_daemon daemon(app_path, answer(0));
        unheard caller(nth);
        expect_failure(utm_app_policy_config_init_block(30, some_entries(23).data(), 23), ETIMEDOUT);
        EXPECT_EQ(caller.count("select"), nth);
    }
    EXPECT_EQ(appcf_log(), std::string(unanswered) + reset_failed + unanswered + init_failed + unanswered +
                               init_failed + unanswered + init_failed);
}

// The daemon accepts so many records, and refuses the next.
std::vector<sim::script> accept_then_refuse(int accepted)
{
    std::vector<sim::script> scripts(static_cast<size_t>(accepted), answer(0));
    scripts.push_back(answer(9));
    scripts.push_back(answer(0));
    return scripts;
}

TEST(app_init_block, refused_record_ends_it_and_the_earlier_ones_stay)
{
    const records all = with_reset(30, entries_records(30, 23));
    for (int accepted : {1, 2, 3}) {
        sim::scripted_daemon daemon(app_path, accept_then_refuse(accepted));
        expect_failure(utm_app_policy_config_init_block(30, some_entries(23).data(), 23), EREMOTEIO);
        EXPECT_EQ(daemon.requests(), records(all.begin(), all.begin() + accepted + 1));
    }
    EXPECT_EQ(appcf_log(), refused(9) + init_failed + refused(9) + init_failed + refused(9) + init_failed);
}

TEST(app_block, refused_record_ends_it_and_the_earlier_ones_stay)
{
    const records all = entries_records(30, 23);
    for (int accepted : {0, 1, 2}) {
        sim::scripted_daemon daemon(app_path, accept_then_refuse(accepted));
        expect_failure(utm_app_policy_config_block(30, some_entries(23).data(), 23), EREMOTEIO);
        EXPECT_EQ(daemon.requests(), records(all.begin(), all.begin() + accepted + 1));
    }
    EXPECT_EQ(appcf_log(), refused(9) + block_failed + refused(9) + block_failed + refused(9) + block_failed);
}

TEST(app_block, silence_in_the_middle_ends_it)
{
    sim::scripted_daemon daemon(app_path, answer(0));
    unheard caller(2);
    expect_failure(utm_app_policy_config_block(30, some_entries(23).data(), 23), ETIMEDOUT);
    EXPECT_EQ(caller.count("select"), 2);
    EXPECT_EQ(appcf_log(), std::string(unanswered) + block_failed);
}

TEST(app_block, absence_is_logged)
{
    impatient caller;
    expect_failure(utm_app_policy_config_block(30, some_entries(1).data(), 1), ENOENT);
    EXPECT_EQ(appcf_log(), unreachable() + block_failed);
}

// Deliberate: adding nothing is no failure, but leaves a line.
TEST(app_block, count_below_1_is_ignored_with_a_line)
{
    config_daemons daemons;
    EXPECT_EQ(utm_app_policy_config_block(30, some_entries(1).data(), 0), 0);
    EXPECT_EQ(utm_app_policy_config_block(30, some_entries(1).data(), -3), 0);
    EXPECT_EQ(utm_app_policy_config_block(30, nullptr, 0), 0);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), std::string(ignored) + ignored + ignored);
}

TEST(app_block, null_is_refused_without_a_line)
{
    config_daemons daemons;
    expect_failure(utm_app_policy_config_block(30, nullptr, 1), EINVAL);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

} // namespace
