// The filter's two engines, and the filter as a whole, which follows them.

#include "kqutm/cf.h"

#include "tests/sandbox/filter.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <ostream>

namespace {

constexpr char enabled[] = "[utm_cf_activate]enable cf\n";
constexpr char disabled[] = "[utm_cf_activate]disenable cf\n";

struct engine {
    const char* name;
    const char* file;
    const char* other_file;
    uint8_t code;
    int32_t (*activate)(int32_t value);

    std::string refused_line(int value) const
    {
        return "[utm_cf_" + std::string(name) + "_activate] fail(activate = " + std::to_string(value) + ")\n";
    }

    friend std::ostream& operator<<(std::ostream& to, const engine& engine) { return to << engine.name; }
};

class engines : public testing::TestWithParam<engine> {};

INSTANTIATE_TEST_SUITE_P(all, engines,
                         testing::Values(engine{"web_safe_browsing", safe_browsing_file, category_file, 18,
                                                utm_cf_web_safe_browsing_activate},
                                         engine{"web_category", category_file, safe_browsing_file, 20,
                                                utm_cf_web_category_activate}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(engines, first_one_switches_the_filter_on)
{
    config_daemons daemons;
    running_filter filter;
    EXPECT_EQ(GetParam().activate(1), 0);
    EXPECT_EQ(content_of(GetParam().file), "1\n");
    EXPECT_FALSE(exists(GetParam().other_file));
    EXPECT_EQ(content_of(kernel_enable), "1\n");
    EXPECT_EQ(content_of(kernel_hdf_enable), "yes\n");
    EXPECT_EQ(content_of(command_file), "29\n");
    EXPECT_EQ(filter.calls("kill"), (std::vector<std::string>{"kill(4711, 1)"}));
    EXPECT_EQ(content_of(filter_marker), "");
    EXPECT_TRUE(exists(filter_marker));
    EXPECT_EQ(daemons.told(), paths{cf_path});
    EXPECT_EQ(daemons.request_of(cf_path), cf_request(GetParam().code).u32(8, 1));
    EXPECT_EQ(appcf_log(), enabled);
}

TEST_P(engines, second_one_finds_the_filter_on)
{
    config_daemons daemons;
    running_filter filter;
    write_file(GetParam().other_file, "1\n");
    write_file(filter_marker, "");
    EXPECT_EQ(GetParam().activate(1), 0);
    EXPECT_EQ(content_of(GetParam().file), "1\n");
    EXPECT_EQ(content_of(kernel_enable), "0\n") << "as the gateway booted";
    EXPECT_FALSE(exists(command_file));
    EXPECT_EQ(filter.count("kill"), 0);
    EXPECT_EQ(daemons.request_of(cf_path), cf_request(GetParam().code).u32(8, 1));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(engines, last_one_switches_the_filter_off)
{
    config_daemons daemons;
    running_filter filter;
    write_file(GetParam().other_file, "0\n");
    write_file(filter_marker, "");
    write_file(kernel_enable, "1\n");
    write_file(kernel_hdf_enable, "yes\n");
    EXPECT_EQ(GetParam().activate(0), 0);
    EXPECT_EQ(content_of(GetParam().file), "0\n");
    EXPECT_EQ(content_of(kernel_enable), "0\n");
    EXPECT_EQ(content_of(kernel_hdf_enable), "no\n");
    EXPECT_EQ(content_of(command_file), "28\n");
    EXPECT_EQ(filter.calls("kill"), (std::vector<std::string>{"kill(4711, 1)"}));
    EXPECT_FALSE(exists(filter_marker));
    EXPECT_EQ(daemons.request_of(cf_path), cf_request(GetParam().code));
    EXPECT_EQ(appcf_log(), disabled);
}

TEST_P(engines, off_while_the_other_is_on_leaves_the_filter_on)
{
    config_daemons daemons;
    running_filter filter;
    write_file(GetParam().other_file, "1\n");
    write_file(filter_marker, "");
    EXPECT_EQ(GetParam().activate(0), 0);
    EXPECT_TRUE(exists(filter_marker));
    EXPECT_EQ(filter.count("kill"), 0);
    EXPECT_EQ(daemons.request_of(cf_path), cf_request(GetParam().code));
}

TEST_P(engines, off_while_the_filter_is_off_changes_nothing_else)
{
    config_daemons daemons;
    running_filter filter;
    write_file(kernel_enable, "as it was");
    EXPECT_EQ(GetParam().activate(0), 0);
    EXPECT_EQ(content_of(GetParam().file), "0\n");
    EXPECT_EQ(content_of(kernel_enable), "as it was");
    EXPECT_EQ(filter.count("kill"), 0);
    EXPECT_EQ(daemons.request_of(cf_path), cf_request(GetParam().code));
}

TEST_P(engines, every_value_but_0_is_on_and_sent_as_given)
{
    config_daemons daemons;
    running_filter filter;
    EXPECT_EQ(GetParam().activate(-7), 0);
    EXPECT_EQ(content_of(GetParam().file), "-7\n");
    EXPECT_EQ(content_of(kernel_enable), "1\n");
    EXPECT_EQ(daemons.request_of(cf_path), cf_request(GetParam().code).u32(8, 0xfffffff9));
}

TEST_P(engines, file_then_state_then_daemon)
{
    sim::scripted_daemon daemon(cf_path, look_and_answer([] {
                                    EXPECT_EQ(content_of(GetParam().file), "1\n");
                                    EXPECT_TRUE(exists(filter_marker));
                                    EXPECT_EQ(content_of(command_file), "29\n");
                                }));
    running_filter filter;
    EXPECT_EQ(GetParam().activate(1), 0);
    EXPECT_EQ(daemon.requests().size(), 1U);
    const auto commands = filter.calls("system");
    ASSERT_EQ(commands.size(), 5U);
    EXPECT_EQ(commands[0], "system(echo 1 > " + std::string(GetParam().file) + ")");
    EXPECT_EQ(commands[1], "system(mkdir -p /tmp/utm_log)");
    EXPECT_EQ(commands[2], "system(/bin/touch /tmp/utm_log/utm_libappcf_config_log)");
    EXPECT_EQ(commands[3], "system(echo 1 > /proc/net/cfilter_enable)");
    EXPECT_EQ(commands[4], "system(echo yes > /proc/net/cfilter_hdf_enable)");
}

TEST_P(engines, refusal_is_logged_and_nothing_is_taken_back)
{
    config_daemons daemons({.cf = 5});
    running_filter filter;
    expect_failure(GetParam().activate(1), EREMOTEIO);
    EXPECT_EQ(content_of(GetParam().file), "1\n");
    EXPECT_EQ(content_of(kernel_enable), "1\n");
    EXPECT_TRUE(exists(filter_marker));
    EXPECT_EQ(appcf_log(), enabled + refused(5) + GetParam().refused_line(1));
}

TEST_P(engines, absence_is_logged_and_nothing_is_taken_back)
{
    running_filter filter;
    expect_failure(GetParam().activate(2), ENOENT);
    EXPECT_EQ(content_of(GetParam().file), "2\n");
    EXPECT_TRUE(exists(filter_marker));
    EXPECT_EQ(appcf_log(), enabled + unreachable() + GetParam().refused_line(2));
}

TEST_P(engines, silence_is_logged_and_nothing_is_taken_back)
{
    config_daemons daemons;
    running_filter filter;
    filter.answer("select", 1, 0);
    expect_failure(GetParam().activate(2), ETIMEDOUT);
    EXPECT_EQ(content_of(GetParam().file), "2\n");
    EXPECT_EQ(content_of(kernel_enable), "1\n");
    EXPECT_TRUE(exists(filter_marker));
    EXPECT_EQ(appcf_log(), enabled + std::string(unanswered) + GetParam().refused_line(2));
}

TEST_P(engines, unreadable_switch_file_of_the_other_leaves_the_daemon_untold)
{
    config_daemons daemons;
    running_filter filter;
    make_unreadable(GetParam().other_file);
    expect_failure(GetParam().activate(1), ENXIO);
    EXPECT_EQ(content_of(GetParam().file), "1\n") << "the value stays";
    EXPECT_FALSE(exists(filter_marker));
    EXPECT_EQ(filter.count("kill"), 0);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), "[utm_cf_activate]open " + std::string(GetParam().other_file) + " fail\n");
}

// What utm_cf_activate makes of the contents of a switch file.
bool reads_as_on(const std::string& content)
{
    running_filter filter;
    std::filesystem::remove(filter_marker);
    write_file(category_file, content);
    EXPECT_EQ(utm_cf_activate(), 0);
    return exists(filter_marker);
}

// Deliberate: only the first three characters of a switch file count.
TEST(activate, value_is_read_by_three_characters)
{
    EXPECT_FALSE(reads_as_on("0001\n"));
    EXPECT_FALSE(reads_as_on("   1\n"));
    EXPECT_FALSE(reads_as_on("-001\n"));
    EXPECT_TRUE(reads_as_on("001\n"));
    EXPECT_TRUE(reads_as_on("1000\n"));
    EXPECT_TRUE(reads_as_on("-1\n"));
}

TEST(activate, value_is_a_decimal_number_on_the_first_line)
{
    EXPECT_FALSE(reads_as_on("on\n"));
    EXPECT_FALSE(reads_as_on("0x1"));
    EXPECT_FALSE(reads_as_on("0a"));
    EXPECT_FALSE(reads_as_on(""));
    EXPECT_FALSE(reads_as_on("\n1\n"));
    EXPECT_TRUE(reads_as_on("2x\n"));
    EXPECT_TRUE(reads_as_on("1"));
}

TEST(activate, without_switch_files_the_filter_is_off)
{
    running_filter filter;
    EXPECT_EQ(utm_cf_activate(), 0);
    EXPECT_FALSE(exists(filter_marker));
    EXPECT_EQ(filter.count("system"), 0);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

// Deliberate: the word is "disenable".
TEST(activate, without_switch_files_a_filter_that_is_on_is_switched_off)
{
    running_filter filter;
    write_file(filter_marker, "");
    EXPECT_EQ(utm_cf_activate(), 0);
    EXPECT_FALSE(exists(filter_marker));
    EXPECT_EQ(content_of(command_file), "28\n");
    EXPECT_EQ(appcf_log(), "[utm_cf_activate]disenable cf\n");
}

TEST(activate, line_then_switching_then_marker)
{
    running_filter filter;
    filter.before("kill", 1, [] {
        EXPECT_FALSE(exists(filter_marker));
        EXPECT_EQ(appcf_log(), enabled);
    });
    filter.before("kill", 2, [] {
        EXPECT_TRUE(exists(filter_marker));
        EXPECT_EQ(appcf_log(), std::string(enabled) + disabled);
    });
    write_file(safe_browsing_file, "1\n");
    EXPECT_EQ(utm_cf_activate(), 0);
    EXPECT_TRUE(exists(filter_marker));
    std::filesystem::remove(command_file);
    write_file(safe_browsing_file, "0\n");
    EXPECT_EQ(utm_cf_activate(), 0);
    EXPECT_FALSE(exists(filter_marker));
    EXPECT_EQ(filter.count("kill"), 2);
}

TEST(activate, unreadable_safe_browsing_file_stops_before_the_other)
{
    running_filter filter;
    make_unreadable(safe_browsing_file);
    make_unreadable(category_file);
    write_file(filter_marker, "");
    expect_failure(utm_cf_activate(), ENXIO);
    EXPECT_TRUE(exists(filter_marker));
    EXPECT_EQ(filter.count("kill"), 0);
    EXPECT_EQ(appcf_log(), "[utm_cf_activate]open /tmp/web_safe_browsing_activate fail\n");
}

TEST(activate, file_that_may_not_be_read_keeps_its_cause)
{
    write_file(safe_browsing_file, "1\n");
    wrap::plan plan;
    plan.fail("fopen", 1, EACCES);
    expect_failure(utm_cf_activate(), EACCES);
    EXPECT_EQ(appcf_log(), "[utm_cf_activate]open /tmp/web_safe_browsing_activate fail\n");
}

TEST(activate, marker_that_cannot_be_created_is_no_failure)
{
    running_filter filter;
    write_file(safe_browsing_file, "1\n");
    filter.before("kill", 1, [] { std::filesystem::create_directory(filter_marker); });
    EXPECT_EQ(utm_cf_activate(), 0);
    EXPECT_EQ(content_of(kernel_enable), "1\n");
}

} // namespace
