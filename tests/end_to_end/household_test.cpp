// The daemons hold what the commands said, and the commands tell what the daemons hold.

#include "kqutm/daemon.h"
#include "sim/gateway.h"
#include "tests/end_to_end/household_steps.h"
#include "tests/sandbox/files.h"
#include "tests/utmctl/run.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>
#include <unistd.h>

namespace {

using sim::json;
using pointer = json::json_pointer;

// The daemon takes a command while it keeps its state to itself.
void await_taken_command()
{
    while (exists(UTM_CF_COMMAND_FILE))
        usleep(1000);
}

json result_of(const std::string& line)
{
    const run_result result = utmctl("-j " + line);
    EXPECT_EQ(result.status, 0) << line << "\n" << result;
    return json::parse(result.out).at("result");
}

class household : public testing::Test {
protected:
    household() { write_household_files(); }

    json states() const
    {
        await_taken_command();
        json all;
        for (const char* daemon : {"cf", "app", "user_profile"})
            all[daemon] = gateway_.state(daemon);
        return all;
    }

    // Carries out the step, and compares all that the daemons hold with all that they are to hold.
    void take(const step& one)
    {
        result_of(one.line);
        for (const change& part : one.changes)
            expected_.patch_inplace(
                {{{"op", part.operation}, {"path", part.path}, {"value", json::parse(part.value)}}});
        const json held = states();
        EXPECT_EQ(held, expected_) << one.line << "\n" << json::diff(expected_, held).dump(1);
    }

    void take(const std::vector<step>& steps)
    {
        for (const step& one : steps)
            take(one);
    }

    const sim::gateway gateway_{{.start = sim::scenario_from(json::parse(household_scenario), "household")}};

private:
    json expected_ = json::parse(household_start);
};

TEST_F(household, is_what_the_commands_said)
{
    EXPECT_EQ(states(), json::parse(household_start));
    take(setting_up);
    take(taking_back);
}

TEST_F(household, is_reset_at_once)
{
    take(setting_up);
    take(reset_all);
    EXPECT_EQ(result_of("profile list"), json::array());
}

// A member of what a command reads back, and the place where a daemon holds it.
struct reading {
    const char* line;
    const char* member;
    const char* place;
};

constexpr reading readings[] = {
    {"profile list", "/0/id", "/cf/profiles/1/id"},
    {"profile list", "/0/cf_policy", "/cf/profiles/1/policy"},
    {"profile list", "/0/app_policy", "/app/profiles/0/policy"},
    {"profile list", "/1/id", "/user_profile/profiles/1/id"},
    {"profile list", "/1/cf_policy", "/cf/profiles/2/policy"},
    {"profile mapping", "/0/id", "/cf/profiles/1/id"},
    {"profile mapping", "/0/cf_policy", "/cf/profiles/1/policy"},
    {"profile mapping", "/1/id", "/cf/profiles/2/id"},
    {"profile mapping", "/1/cf_policy", "/cf/profiles/2/policy"},
    {"profile get-daily-limit-enable 7", "/switch", "/app/profiles/0/limits/daily_limit_enable"},
    {"profile get-daily-limit 7", "/limit", "/app/profiles/0/limits/daily_limit"},
    {"profile get-weekday-limits 7", "", "/app/profiles/0/limits/weekday_limits"},
    {"profile get-weekday-limits 8", "", "/app/profiles/1/limits/weekday_limits"},
    {"profile get-extension 7", "/extension", "/app/profiles/0/limits/extension"},
    {"profile usage 7", "/first", "/app/profiles/0/usage/today"},
    {"profile usage 7", "/second", "/app/profiles/0/usage/week"},
    {"profile usage 7", "/third", "/app/profiles/0/usage/month"},
    {"profile app-usage 7", "", "/app/profiles/0/usage/apps"},
    {"profile app-usage 7 4", "/0", "/app/profiles/0/usage/apps/1"},
    {"profile app-usage-days 7", "/0/app", "/app/profiles/0/usage/earlier_days/0/app"},
    {"profile domains 3", "", "/cf/profiles/0/browsed_domains"},
    {"cf status", "/safe_browsing", "/cf/web_safe_browsing"},
    {"cf status", "/web_category", "/cf/web_category"},
    {"cf status", "/kernel_hdf_enable", "/cf/kernel/hdf_enable"},
    {"cf status", "/redirect_page", "/cf/kernel/redirect_url"},
    {"app status", "", "/app/status"},
    {"app get-export-interval", "/interval", "/app/export_interval"},
};

// Without the names of members, which are the library's on the one side and the simulator's on the other.
json values_of(const json& value)
{
    if (!value.is_structured())
        return value;
    json values = json::array();
    for (const json& member : value)
        values.push_back(values_of(member));
    return values;
}

TEST_F(household, is_what_the_commands_read)
{
    take(setting_up);
    const json held = states();
    for (const reading& one : readings) {
        const json read = result_of(one.line);
        ASSERT_TRUE(read.contains(pointer(one.member))) << one.line << "\n" << read;
        EXPECT_EQ(values_of(read.at(pointer(one.member))), values_of(held.at(pointer(one.place)))) << one.line;
    }
    EXPECT_EQ(states(), held);
}

// The figures are opaque to the command: it tells their bytes.
TEST_F(household, is_what_the_commands_read_of_earlier_days)
{
    take(setting_up);
    EXPECT_EQ(states().at(pointer("/app/profiles/0/usage/earlier_days")).dump(), R"([{"app":3,"minutes":[5,0,258]}])");
    EXPECT_EQ(result_of("profile app-usage-days 7").at(0).at("figures"), "05000000"
                                                                         "00000000"
                                                                         "02010000" +
                                                                             std::string(224, '0'));
}

// The lines below the heading, as JSON.
json dumped(const json& sections, const std::string& heading)
{
    const auto section = std::ranges::find_if(sections, [&](const json& one) { return one.at("heading") == heading; });
    if (section == sections.end())
        return {};
    std::string text;
    for (const json& line : section->at("lines"))
        text += line.get<std::string>() + "\n";
    return json::parse(text);
}

TEST_F(household, is_what_the_dumps_hold)
{
    take(setting_up);
    const json held = states();
    EXPECT_EQ(dumped(result_of("cf dump /tmp/dump").at("sections"), "Dump content filter daemon"), held.at("cf"));
    EXPECT_EQ(dumped(result_of("app dump /tmp/dump").at("sections"), "Dump application daemon"), held.at("app"));
    result_of("cf dump-kernel /tmp/kernel");
    EXPECT_EQ(content_of("/tmp/kernel"), "====dump_cf_activate\n1\nyes\n\n");
    EXPECT_EQ(states(), held);
}

TEST_F(household, is_what_the_statistics_hold)
{
    take(setting_up);
    const json held = states();
    result_of("app export-statistics /tmp/exported");
    json profiles = json::array();
    for (const json& profile : held.at("app").at("profiles")) {
        profiles.push_back({{"id", profile.at("id")}});
        profiles.back().update(profile.at("usage"));
    }
    EXPECT_EQ(json::parse(content_of("/tmp/exported")), json({{"profiles", profiles}}));
    EXPECT_EQ(states(), held);
}

TEST_F(household, every_command_has_its_part)
{
    std::set<std::string> covered = {"reset",    "profile app-usage-days", "cf dump",
                                     "app dump", "cf dump-kernel",         "app export-statistics"};
    for (const auto& steps : {setting_up, taking_back}) {
        for (const step& one : steps)
            covered.insert(command_of(one.line));
    }
    for (const reading& one : readings)
        covered.insert(command_of(one.line));
    std::set<std::string> commands = {"reset"};
    for (const char* family : {"profile", "cf", "app"}) {
        for (const json& row : result_of(std::string("help ") + family))
            commands.insert(row.at("command").get<std::string>());
    }
    EXPECT_EQ(covered, commands);
}

} // namespace
