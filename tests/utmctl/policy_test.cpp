#include "tests/sandbox/files.h"
#include "tests/sandbox/registry.h"
#include "tests/utmctl/profile_texts.h"
#include "tests/utmctl/records.h"
#include "tests/utmctl/run.h"
#include "tests/utmctl/stopped_lock_holder.h"

#include <gtest/gtest.h>

namespace {

constexpr char cf_refused[] = "the content-filter daemon (/dev/utm_cf_config_socket) refused with error code 3; the "
                              "daemon's own log tells the reason";
constexpr char app_refused[] = "the application daemon (/dev/utm_app_config_socket) refused with error code 3; the "
                               "daemon's own log tells the reason";

TEST(policy, create_prints_the_identifier)
{
    const config_daemons daemons;
    EXPECT_EQ(utmctl("cf create-policy 70"), (run_result{0, "70\n", ""}));
    EXPECT_EQ(daemons.request_of(cf_path), request_record(cf_path, 5, words_body({70})));
    EXPECT_EQ(utmctl("-j app create-policy 80"),
              (run_result{0, done_line("app create-policy", R"({"id":80,"registered":true})"), ""}));
    EXPECT_EQ(daemons.request_of(app_path), request_record(app_path, 42, words_body({80})));
    EXPECT_EQ(slot(cf_policies), 70U);
    EXPECT_EQ(slot(app_policies), 80U);
}

TEST(policy, create_takes_an_identifier_from_the_clock)
{
    const config_daemons daemons;
    const time_t before = time(nullptr);
    EXPECT_GE(std::stol(utmctl("cf create-policy").out), before);
    EXPECT_GE(std::stol(utmctl("app create-policy 0").out), before);
}

TEST(policy, an_identifier_that_is_taken_is_refused)
{
    const config_daemons daemons;
    register_ids({{512, 70}});
    EXPECT_EQ(utmctl("cf create-policy 70"),
              refused(1, "content-filter policy 70 was not created: the ID registry holds that identifier already; "
                         "choose another identifier, or none to get one from the clock\n"));
    EXPECT_TRUE(daemons.visits().empty());
}

TEST(policy, a_full_registry_refuses)
{
    register_ids(full(app_policies));
    EXPECT_EQ(utmctl("app create-policy 7000"),
              refused(1, "application policy 7000 was not created: the ID registry holds 256 of them, and has no free "
                         "slot; delete one that is not needed any more\n"));
}

TEST(policy, a_refused_content_filter_policy_leaves_the_registry)
{
    const config_daemons daemons({.cf = 3});
    EXPECT_EQ(utmctl("cf create-policy 70"),
              refused(1, std::string("content-filter policy 70 was not created: ") + cf_refused + "\n"));
    EXPECT_EQ(slot(cf_policies), 0U);
}

TEST(policy, a_refused_content_filter_policy_takes_an_application_policy_along)
{
    const config_daemons daemons({.cf = 3});
    register_ids({{1024, 70}});
    EXPECT_EQ(utmctl("cf create-policy 70"),
              refused(1, std::string("content-filter policy 70 was not created (application policy 70 is not in the "
                                     "registry any more): ") +
                             cf_refused + "; run the command again, and 'utmctl registry reserve app-policy 70'\n"));
    EXPECT_EQ(slot(app_policies), 0U);
}

TEST(policy, a_refused_application_policy_stays_registered)
{
    const config_daemons daemons({.app = 3});
    const std::string error = std::string("application policy 80 was created in part (in the registry): ") +
                              app_refused +
                              "; release it with 'utmctl registry release app-policy 80' and run the command again\n";
    EXPECT_EQ(utmctl("app create-policy 80"), refused(8, error));
    EXPECT_EQ(slot(app_policies), 80U);
    const run_result in_json = utmctl("-j app create-policy 81");
    EXPECT_TRUE(in_json.out.starts_with(R"({"command":"app create-policy","status":"done-in-part","exit":8,)"
                                        R"("result":{"id":81,"registered":true},"errors":[{)"))
        << in_json;
}

// To release its number would free the content-filter policy of the same number, too.
TEST(policy, a_refused_application_policy_is_not_to_be_released_with_another)
{
    const config_daemons daemons({.app = 3});
    register_ids({{512, 80}});
    EXPECT_EQ(utmctl("app create-policy 80"),
              refused(8, std::string("application policy 80 was created in part (in the registry): ") + app_refused +
                             "; run the command again with another identifier\n"));
}

TEST(policy, a_refused_identifier_from_the_clock_is_told)
{
    const config_daemons daemons({.app = 3});
    const run_result result = utmctl("app create-policy");
    const std::string number = std::to_string(slot(app_policies));
    EXPECT_EQ(result,
              refused(8, "the application policy was created in part (in the registry): " + std::string(app_refused) +
                             "; release it with 'utmctl registry release app-policy " + number +
                             "' and run the command again\n"));
}

TEST(policy, create_without_its_daemon)
{
    EXPECT_EQ(utmctl("cf create-policy 70"),
              refused(4, std::string("content-filter policy 70 was not created: ") + cf_missing +
                             "; start the content-filter daemon, then run the command again\n"));
}

TEST(policy, bind_writes_the_registry_and_tells_the_daemon)
{
    const config_daemons daemons;
    register_ids({{2, 7}, {512, 70}, {1024, 80}});
    EXPECT_EQ(utmctl("profile bind-cf 7 70"), (run_result{0, "content-filter policy 70 bound to profile 7\n", ""}));
    EXPECT_EQ(daemons.request_of(cf_path), request_record(cf_path, 7, words_body({7, 70})));
    EXPECT_EQ(utmctl("-j profile bind-app 7 80"),
              (run_result{0, done_line("profile bind-app", R"({"id":7,"policy":80,"registered":true})"), ""}));
    EXPECT_EQ(daemons.request_of(app_path), request_record(app_path, 45, words_body({7, 80})));
    EXPECT_EQ(slot(cf_bindings + 2), 70U);
    EXPECT_EQ(slot(app_bindings + 2), 80U);
}

TEST(policy, a_refused_binding_stays_in_the_registry)
{
    const config_daemons daemons({.app = 3});
    register_ids({{0, 7}, {1024, 80}});
    EXPECT_EQ(utmctl("profile bind-app 7 80"),
              refused(8, std::string("application policy 80 was bound to profile 7 in part (in the registry): ") +
                             app_refused + "; run the command again, or bind another policy\n"));
    EXPECT_EQ(slot(app_bindings), 80U);
    EXPECT_TRUE(utmctl("-j profile bind-app 7 80")
                    .out.starts_with(R"({"command":"profile bind-app","status":"done-in-part","exit":8,"result":)"
                                     R"({"id":7,"policy":80,"registered":true},"errors":[{"status":"done-in-part",)"));
}

TEST(policy, a_binding_that_reaches_no_daemon_stays_in_the_registry)
{
    register_ids({{0, 7}, {512, 70}});
    EXPECT_EQ(
        utmctl("profile bind-cf 7 70"),
        refused(8, std::string("content-filter policy 70 was bound to profile 7 in part (in the registry): ") +
                       cf_missing +
                       "; start the content-filter daemon, then run the command again, or bind another policy\n"));
    EXPECT_EQ(slot(cf_bindings), 70U);
}

TEST(policy, what_is_not_registered_is_not_bound)
{
    const config_daemons daemons;
    register_ids({{0, 7}, {1024, 70}});
    EXPECT_EQ(utmctl("profile bind-cf 8 70"),
              refused(6,
                      "content-filter policy 70 was not bound to profile 8: the ID registry does not know profile 8, "
                      "and nothing was sent; 'utmctl registry show' tells what it holds\n"));
    EXPECT_EQ(utmctl("profile bind-cf 7 70"),
              refused(6, "content-filter policy 70 was not bound to profile 7: the ID registry does not know "
                         "content-filter policy 70, and nothing was sent; 'utmctl registry show' tells what it "
                         "holds\n"));
    EXPECT_TRUE(daemons.visits().empty());
}

TEST(policy, a_lock_that_is_not_given_ends_at_the_deadline)
{
    register_ids({{0, 7}, {512, 70}});
    const stopped_lock_holder holder;
    EXPECT_EQ(utmctl("--timeout 0.3 profile bind-cf 7 70"),
              refused(3, "content-filter policy 70 was not bound to profile 7: " + holder.told_within("0.3")));
    EXPECT_EQ(utmctl("--timeout 0.3 cf create-policy 71"),
              refused(3, "content-filter policy 71 was not created: " + holder.told_within("0.3")));
    EXPECT_EQ(utmctl("--timeout 0.3 profile mapping"),
              refused(3, "the profile mapping was not listed: " + holder.told_within("0.3")));
    EXPECT_EQ(utmctl("--timeout 0.3 cf dump /tmp/d"),
              refused(3, "the dump of the content filter was not written to /tmp/d: " + holder.told_within("0.3")));
}

} // namespace
