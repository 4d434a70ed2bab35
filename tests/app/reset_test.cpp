// The combined reset of profiles and policies.

#include "kqutm/app.h"
#include "kqutm/profile.h"

#include "tests/sandbox/filter.h"

#include <gtest/gtest.h>
#include <ostream>
#include <unistd.h>

namespace {

std::string failed(const std::string& step)
{
    return "utm_user_profile_cf_app_policy_reset is failed(" + step + ")\n";
}

// A household with the filter on.
void set_up_household()
{
    register_ids({{profiles, 7}, {profiles + 9, 8}, {cf_bindings, 20}, {cf_policies, 20}});
    write_file(safe_browsing_file, "1\n");
    write_file(category_file, "1\n");
    write_file(filter_marker, "");
    write_file(kernel_enable, "1\n");
    write_file(kernel_hdf_enable, "yes\n");
}

// What the three daemons are asked, in order: two profiles are deleted, then come the four steps.
const std::vector<std::pair<std::string, sim::bytes>> whole_reset = {
    {cf_path, cf_request(2).u32(8, 7)},
    {app_path, app_request(2).u32(8, 7)},
    {user_profile_path, request(16, 2).u32(4, 7)},
    {cf_path, cf_request(2).u32(8, 8)},
    {app_path, app_request(2).u32(8, 8)},
    {user_profile_path, request(16, 2).u32(4, 8)},
    {cf_path, cf_request(23)},
    {cf_path, cf_request(18)},
    {cf_path, cf_request(20)},
    {app_path, app_request(39)},
};

void expect_visits(const std::vector<sim::visit>& visits, size_t count)
{
    ASSERT_EQ(visits.size(), count);
    for (size_t i = 0; i < count; i++) {
        EXPECT_EQ(visits[i].path, whole_reset[i].first) << i;
        EXPECT_EQ(visits[i].request, whole_reset[i].second) << i;
    }
}

// The three daemons, of which one does otherwise from its nth request on.
class daemons_until {
public:
    daemons_until(const std::string& path, size_t nth, const sim::script& then)
    {
        for (const char* each : {cf_path, app_path, user_profile_path}) {
            std::vector<sim::script> scripts = {answer(0)};
            if (each == path) {
                scripts.assign(nth - 1, answer(0));
                scripts.push_back(then);
            }
            daemons_.push_back(std::make_unique<sim::scripted_daemon>(each, scripts, &journal_));
        }
    }

    std::vector<sim::visit> visits() const { return journal_.visits(); }

    // Waits for a request that the library may have given up before it was read.
    std::vector<sim::visit> await_visits(size_t count) const
    {
        while (visits().size() < count || visits().back().request.empty())
            usleep(1000);
        return visits();
    }

private:
    sim::journal journal_;
    std::vector<std::unique_ptr<sim::scripted_daemon>> daemons_;
};

TEST(reset, empties_everything_and_switches_it_off)
{
    config_daemons daemons;
    running_filter filter;
    set_up_household();
    EXPECT_EQ(utm_user_profile_cf_app_policy_reset(), 0);
    expect_visits(daemons.visits(), 10);
    EXPECT_EQ(all_slots(), slots(1280, 0));
    EXPECT_EQ(content_of(kernel_enable), "0\n");
    EXPECT_EQ(content_of(kernel_hdf_enable), "no\n");
    EXPECT_EQ(content_of(command_file), "28\n");
    for (const char* file : {filter_marker, safe_browsing_file, category_file})
        EXPECT_FALSE(exists(file)) << file;
    EXPECT_EQ(appcf_log(), "[utm_cf_activate]disenable cf\n");
}

TEST(reset, filter_goes_off_with_its_second_engine)
{
    running_filter filter;
    set_up_household();
    register_ids({{profiles, 0}, {profiles + 9, 0}});
    sim::journal journal;
    sim::scripted_daemon cf(cf_path,
                            {answer(0), look_and_answer([] { EXPECT_TRUE(exists(filter_marker)); }),
                             look_and_answer([] { EXPECT_FALSE(exists(filter_marker)); })},
                            &journal);
    sim::scripted_daemon app(app_path, answer(0), &journal);
    EXPECT_EQ(utm_user_profile_cf_app_policy_reset(), 0);
    EXPECT_EQ(journal.visits().size(), 4U);
}

TEST(reset, files_are_removed_last_and_in_order)
{
    sim::scripted_daemon cf(cf_path, answer(0));
    sim::scripted_daemon app(app_path, look_and_answer([] {
                                 EXPECT_TRUE(exists(filter_marker)) << "made again, to be there at the end";
                                 EXPECT_EQ(content_of(safe_browsing_file), "0\n");
                                 EXPECT_EQ(content_of(category_file), "0\n");
                             }));
    running_filter filter;
    filter.before("socket", 4, [] { write_file(filter_marker, ""); });
    EXPECT_EQ(utm_user_profile_cf_app_policy_reset(), 0);
    EXPECT_EQ(filter.calls("unlink"),
              (std::vector<std::string>{"unlink(/tmp/cf_activate)", "unlink(/tmp/web_safe_browsing_activate)",
                                        "unlink(/tmp/web_category_activate)"}));
}

// The steps write the two switch files themselves, so these are there to be removed; the marker is not.
TEST(reset, without_state_files_the_marker_is_not_removed)
{
    config_daemons daemons;
    running_filter filter;
    EXPECT_EQ(utm_user_profile_cf_app_policy_reset(), 0);
    EXPECT_EQ(filter.calls("unlink"), (std::vector<std::string>{"unlink(/tmp/web_safe_browsing_activate)",
                                                                "unlink(/tmp/web_category_activate)"}));
    EXPECT_FALSE(exists(safe_browsing_file));
    EXPECT_FALSE(exists(category_file));
    EXPECT_EQ(filter.count("kill"), 0) << "the filter was off";
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(reset, engine_that_is_on_without_the_marker_is_switched_on_before_it_is_switched_off)
{
    config_daemons daemons;
    running_filter filter;
    write_file(category_file, "1\n");
    filter.before("kill", 1, [] { EXPECT_EQ(content_of(command_file), "29\n"); });
    filter.before("kill", 2, [] { EXPECT_EQ(content_of(command_file), "28\n"); });
    EXPECT_EQ(utm_user_profile_cf_app_policy_reset(), 0);
    EXPECT_EQ(filter.count("kill"), 2);
    EXPECT_EQ(filter.count("usleep"), 100) << "the first command is not taken";
    EXPECT_FALSE(exists(filter_marker));
    EXPECT_EQ(appcf_log(), "[utm_cf_activate]enable cf\n[utm_cf_activate]disenable cf\n");
}

TEST(reset, registry_that_cannot_be_attached_ends_it_at_the_first_step)
{
    config_daemons daemons;
    set_up_household();
    wrap::plan plan;
    plan.fail("shmat", 1, ENOMEM);
    expect_failure(utm_user_profile_cf_app_policy_reset(), ENOMEM);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_TRUE(exists(filter_marker));
    EXPECT_EQ(appcf_log(), std::string(attach_failed) + failed("utm_user_profile_flush"));
}

TEST(reset, registry_that_cannot_be_locked_does_not_end_it)
{
    config_daemons daemons;
    running_filter filter;
    set_up_household();
    filter.fail("semop", wrap::every, EACCES);
    EXPECT_EQ(utm_user_profile_cf_app_policy_reset(), 0);
    EXPECT_EQ(daemons.told(), (paths{cf_path, cf_path, cf_path, app_path}));
}

TEST(reset, profiles_that_are_refused_do_not_end_it)
{
    config_daemons daemons({.user_profile = 5});
    running_filter filter;
    set_up_household();
    EXPECT_EQ(utm_user_profile_cf_app_policy_reset(), 0);
    expect_visits(daemons.visits(), 10);
}

// A step that the daemon at a path does not do on its nth request, and what is done until then.
struct failing_step {
    std::string name;
    const char* path;
    size_t nth;
    size_t visits;
    const char* safe_browsing;
    const char* category;
    bool filter_is_on;
    std::string line_of_its_own;

    friend std::ostream& operator<<(std::ostream& to, const failing_step& step) { return to << step.name; }
};

const std::vector<failing_step> failing_steps = {
    {"utm_cf_global_flush", cf_path, 3, 7, "1\n", "1\n", true, "[utm_cf_global_flush] fail(flush_type = 0)\n"},
    {"utm_cf_web_safe_browsing_activate", cf_path, 4, 8, "0\n", "1\n", true,
     "[utm_cf_web_safe_browsing_activate] fail(activate = 0)\n"},
    {"utm_cf_web_category_activate", cf_path, 5, 9, "0\n", "0\n", false,
     "[utm_cf_web_category_activate] fail(activate = 0)\n"},
    {"utm_app_activate", app_path, 3, 10, "0\n", "0\n", false, "set app activate(0) fail\n"},
};

class reset_steps : public testing::TestWithParam<failing_step> {
protected:
    static void expect_state_so_far(const std::vector<sim::visit>& visits, const std::string& line_of_the_sender)
    {
        const failing_step& step = GetParam();
        expect_visits(visits, step.visits);
        EXPECT_EQ(content_of(safe_browsing_file), step.safe_browsing);
        EXPECT_EQ(content_of(category_file), step.category);
        EXPECT_EQ(exists(filter_marker), step.filter_is_on);
        EXPECT_EQ(appcf_log(), std::string(step.filter_is_on ? "" : "[utm_cf_activate]disenable cf\n") +
                                   line_of_the_sender + step.line_of_its_own + failed(step.name));
    }
};

INSTANTIATE_TEST_SUITE_P(all, reset_steps, testing::ValuesIn(failing_steps),
                         [](const auto& test) { return test.param.name; });

TEST_P(reset_steps, refusal_ends_it_and_nothing_is_taken_back)
{
    daemons_until daemons(GetParam().path, GetParam().nth, answer(5));
    running_filter filter;
    set_up_household();
    expect_failure(utm_user_profile_cf_app_policy_reset(), EREMOTEIO);
    expect_state_so_far(daemons.visits(), refused(5));
}

TEST_P(reset_steps, connection_that_ends_without_an_answer_ends_it)
{
    daemons_until daemons(GetParam().path, GetParam().nth, {sim::receive()});
    running_filter filter;
    set_up_household();
    expect_failure(utm_user_profile_cf_app_policy_reset(), ENODATA);
    expect_state_so_far(daemons.visits(), "[send_utm_config_event]read response fail\n");
}

TEST_P(reset_steps, silence_ends_it)
{
    daemons_until daemons(GetParam().path, GetParam().nth, {sim::receive(), sim::await_close()});
    running_filter filter;
    set_up_household();
    filter.answer("select", static_cast<int>(GetParam().visits), 0);
    expect_failure(utm_user_profile_cf_app_policy_reset(), ETIMEDOUT);
    expect_state_so_far(daemons.await_visits(GetParam().visits), unanswered);
}

TEST(reset, absent_content_filter_ends_it_after_the_profiles)
{
    config_daemons daemons({.cf = absent});
    running_filter filter;
    set_up_household();
    expect_failure(utm_user_profile_cf_app_policy_reset(), ENOENT);
    EXPECT_EQ(daemons.told(), (paths{app_path, user_profile_path, app_path, user_profile_path}));
    EXPECT_TRUE(exists(filter_marker));
    EXPECT_TRUE(appcf_log().ends_with(failed("utm_cf_global_flush")));
}

TEST(reset, absent_application_daemon_ends_it_at_the_last_step)
{
    config_daemons daemons({.app = absent});
    running_filter filter;
    set_up_household();
    expect_failure(utm_user_profile_cf_app_policy_reset(), ENOENT);
    EXPECT_EQ(daemons.visits().size(), 7U);
    EXPECT_EQ(content_of(safe_browsing_file), "0\n");
    EXPECT_EQ(content_of(category_file), "0\n");
    EXPECT_TRUE(appcf_log().ends_with("set app activate(0) fail\n" + failed("utm_app_activate")));
}

TEST(reset, unreadable_switch_file_ends_it_at_the_engine)
{
    config_daemons daemons;
    running_filter filter;
    make_unreadable(category_file);
    expect_failure(utm_user_profile_cf_app_policy_reset(), ENXIO);
    EXPECT_EQ(daemons.told(), paths{cf_path}) << "the flush alone";
    EXPECT_TRUE(exists(category_file));
    EXPECT_EQ(appcf_log(),
              "[utm_cf_activate]open /tmp/web_category_activate fail\n" + failed("utm_cf_web_safe_browsing_activate"));
}

} // namespace
