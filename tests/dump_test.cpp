// The dumps of content filter and application control. Only the policies that they list, and what comes between date
// and registry, differ.

#include "kqutm/app.h"
#include "kqutm/cf.h"

#include "tests/sandbox/filter.h"

#include <gtest/gtest.h>
#include <ostream>
#include <regex>

namespace {

using commands = std::vector<std::string>;

constexpr char dump_path[] = "/tmp/dump";

struct dump_operation {
    int32_t (*run)(const char* path);
    const char* daemon;
    std::string family;       // "cf" or "app"
    request asked;            // of the daemon, without the path
    std::string switches;     // what stands between date and registry
    commands switch_commands; // that put it there
    size_t bindings;
    size_t policies;

    friend std::ostream& operator<<(std::ostream& to, const dump_operation& dump) { return to << dump.family; }
};

class dumps : public testing::TestWithParam<dump_operation> {
protected:
    const dump_operation& dump = GetParam();
};

INSTANTIATE_TEST_SUITE_P(
    all, dumps,
    testing::Values(dump_operation{.run = utm_cf_dump_all,
                                   .daemon = cf_path,
                                   .family = "cf",
                                   .asked = cf_request(0),
                                   .switches = "====dump_cf_activate\n0\nno\n\n",
                                   .switch_commands = {"system(echo ====dump_cf_activate >> /tmp/d)",
                                                       "system(cat /proc/net/cfilter_enable >> /tmp/d)",
                                                       "system(cat /proc/net/cfilter_hdf_enable >> /tmp/d)",
                                                       "system(echo >> /tmp/d)"},
                                   .bindings = cf_bindings,
                                   .policies = cf_policies},
                    dump_operation{.run = utm_app_dump_all,
                                   .daemon = app_path,
                                   .family = "app",
                                   .asked = app_request(38),
                                   .switches = "",
                                   .switch_commands = {},
                                   .bindings = app_bindings,
                                   .policies = app_policies}),
    [](const auto& test) { return test.param.family; });

// A file of a dump without its first line, which is the date.
std::string after_date(const std::string& path = dump_path)
{
    const std::string all = content_of(path);
    const size_t end = all.find('\n');
    EXPECT_TRUE(std::regex_search(all.substr(0, end), std::regex("[0-9]:[0-9][0-9]:[0-9]"))) << all;
    return end == std::string::npos ? "" : all.substr(end + 1);
}

void register_for_dump(const dump_operation& dump)
{
    register_ids({{profiles, 7}, {profiles + 255, 0xffffffff}, {dump.bindings, 20}, {dump.bindings + 1, 99}});
    set_slots({{dump.policies + 1, 20}, {dump.policies + 2, 21}});
    const size_t bindings_of_the_other_kind = cf_bindings + app_bindings - dump.bindings;
    set_slots({{bindings_of_the_other_kind, 30}}); // behind a table that is dumped
}

std::string profiles_part(const dump_operation& dump)
{
    return "====Dump user profile ID[shared memory]\n"
           "User profile ID[0] = 7 - bind " +
           dump.family + " id = 20\nUser profile ID[255] = -1 - bind " + dump.family + " id = 0\n";
}

std::string policies_part(const dump_operation& dump)
{
    return "====Dump " + dump.family + " policy ID[shared memory]\n" + dump.family + " policy ID[1] = 20\n" +
           dump.family + " policy ID[2] = 21\n";
}

TEST_P(dumps, holds_date_switches_profiles_and_policies)
{
    register_for_dump(dump);
    write_file(dump_path, "an earlier dump, longer than the one that follows it: " + std::string(4096, 'x'));
    const std::string expected = dump.switches + profiles_part(dump) + policies_part(dump) + "\n";
    sim::scripted_daemon daemon(dump.daemon, look_and_answer([&] {
                                    EXPECT_EQ(after_date(), expected) << "whole before the daemon is told";
                                    EXPECT_EQ(semaphore_value(), 1);
                                }));
    EXPECT_EQ(dump.run(dump_path), 0);
    EXPECT_EQ(after_date(), expected);
    EXPECT_EQ(daemon.requests(), records{request(dump.asked).text(8, dump_path)});
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(dumps, holds_the_lock_during_the_commands_for_the_registry)
{
    register_for_dump(dump);
    sim::scripted_daemon daemon(dump.daemon, answer(0));
    wrap::plan plan;
    const int first = dump.switches.empty() ? 2 : 6; // commands before the registry's part
    for (int command = 1; command < first; command++)
        plan.before("system", command, [] { EXPECT_EQ(semaphore_value(), 1); });
    for (int command = first; command < first + 6; command++)
        plan.before("system", command, [] { EXPECT_EQ(semaphore_value(), 0); });
    plan.before("shmdt", 1, [] { EXPECT_EQ(semaphore_value(), 0); });
    plan.before("system", first + 6, [] { EXPECT_EQ(semaphore_value(), 1); });
    EXPECT_EQ(dump.run(dump_path), 0);
    EXPECT_EQ(plan.count("shmdt"), 1);
    EXPECT_EQ(plan.count("system"), first + 6);
    EXPECT_EQ(plan.calls("unlink"), std::vector<std::string>{"unlink(/tmp/dump)"});
}

TEST_P(dumps, of_an_empty_registry)
{
    set_slots({{profiles, 7}}); // cleared at the first use
    sim::scripted_daemon daemon(dump.daemon, answer(0));
    EXPECT_EQ(dump.run(dump_path), 0);
    EXPECT_EQ(after_date(), dump.switches + "====Dump user profile ID[shared memory]\n====Dump " + dump.family +
                                " policy ID[shared memory]\n\n");
    EXPECT_EQ(slot(profiles), 0U);
}

// A path of this many characters, in a folder that exists.
std::string path_of(size_t length)
{
    return "/tmp/" + std::string(length - 5, 'p');
}

TEST_P(dumps, path_of_127_characters_is_accepted)
{
    sim::scripted_daemon daemon(dump.daemon, answer(0));
    const std::string path = path_of(127);
    EXPECT_EQ(dump.run(path.c_str()), 0);
    EXPECT_TRUE(exists(path));
    EXPECT_EQ(daemon.requests(), records{request(dump.asked).text(8, path)});
}

// Deliberate: the path is looked at after the registry, which a refused dump may have cleared.
TEST_P(dumps, path_of_128_characters_is_refused_before_the_file_is_removed)
{
    sim::scripted_daemon daemon(dump.daemon, answer(0));
    const std::string path = path_of(128);
    write_file(path, "as it was");
    set_slots({{profiles, 7}});
    expect_failure(dump.run(path.c_str()), EINVAL);
    EXPECT_EQ(content_of(path), "as it was");
    EXPECT_EQ(slot(profiles), 0U) << "the registry was cleared on its first use";
    EXPECT_EQ(daemon.requests(), records{});
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(dumps, null_path_is_refused_before_anything_else)
{
    wrap::plan plan;
    expect_failure(dump.run(nullptr), EINVAL);
    EXPECT_EQ(plan.calls(), std::vector<std::string>{});
}

TEST_P(dumps, refusal_leaves_no_line_of_its_own)
{
    sim::scripted_daemon daemon(dump.daemon, answer(5));
    expect_failure(dump.run(dump_path), EREMOTEIO);
    EXPECT_EQ(appcf_log(), refused(5));
    EXPECT_TRUE(exists(dump_path));
}

TEST_P(dumps, absence_leaves_no_line_of_its_own)
{
    impatient caller;
    expect_failure(dump.run(dump_path), ENOENT);
    EXPECT_EQ(appcf_log(), unreachable());
}

TEST_P(dumps, silence_leaves_no_line_of_its_own)
{
    register_for_dump(dump);
    sim::scripted_daemon daemon(dump.daemon, answer(0));
    unheard caller;
    expect_failure(dump.run(dump_path), ETIMEDOUT);
    EXPECT_EQ(after_date(), dump.switches + profiles_part(dump) + policies_part(dump) + "\n");
    EXPECT_EQ(appcf_log(), unanswered);
}

TEST_P(dumps, registry_that_cannot_be_initialised_leaves_the_file)
{
    write_file(dump_path, "as it was");
    wrap::plan plan;
    plan.fail("open", 1, EROFS);
    expect_failure(dump.run(dump_path), EROFS);
    EXPECT_EQ(content_of(dump_path), "as it was");
    EXPECT_EQ(appcf_log(), "open /tmp/utm_user_profile_shm fail\n");
}

// A dump during which the nth call of a libc function fails: what is in the file then, and that nobody is told.
void expect_unsent(const dump_operation& dump, const std::string& function, int nth, const std::string& expected)
{
    register_for_dump(dump);
    sim::scripted_daemon daemon(dump.daemon, answer(0));
    wrap::plan plan;
    plan.fail(function, nth, EACCES);
    EXPECT_EQ(dump.run(dump_path), 0);
    EXPECT_EQ(after_date(), expected);
    EXPECT_EQ(daemon.requests(), records{});
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

// Deliberate: a dump that cannot lock, attach or unlock the registry ends there and reports success.
TEST_P(dumps, registry_that_cannot_be_locked_ends_the_file)
{
    expect_unsent(dump, "semop", 1, dump.switches);
}

TEST_P(dumps, semaphore_that_cannot_be_opened_ends_the_file)
{
    expect_unsent(dump, "semget", wrap::every, dump.switches);
}

TEST_P(dumps, registry_that_cannot_be_attached_ends_the_file)
{
    expect_unsent(dump, "shmat", 1, dump.switches);
    EXPECT_EQ(semaphore_value(), 1);
}

TEST_P(dumps, registry_that_cannot_be_unlocked_ends_the_file)
{
    expect_unsent(dump, "semop", 2, dump.switches + profiles_part(dump) + policies_part(dump));
    EXPECT_EQ(utm_id_config_unlock(semaphore()), 0);
}

TEST_P(dumps, commands_are_in_order)
{
    config_daemons daemons;
    register_ids({{profiles + 4, 7}, {dump.bindings + 4, 20}, {dump.policies + 9, 20}});
    wrap::plan plan;
    EXPECT_EQ(dump.run("/tmp/d"), 0);
    commands expected = {"system(date >> /tmp/d)"};
    expected.insert(expected.end(), dump.switch_commands.begin(), dump.switch_commands.end());
    expected.push_back("system(echo ====Dump user profile ID[shared memory] >> /tmp/d)");
    expected.push_back("system(echo User profile ID[4] = 7 - bind " + dump.family + " id = 20 >> /tmp/d)");
    expected.push_back("system(echo ====Dump " + dump.family + " policy ID[shared memory] >> /tmp/d)");
    expected.push_back("system(echo " + dump.family + " policy ID[9] = 20 >> /tmp/d)");
    expected.push_back("system(echo >> /tmp/d)");
    EXPECT_EQ(plan.calls("system"), expected);
}

} // namespace
