#include "tests/sandbox/files.h"
#include "tests/sandbox/paths.h"
#include "tests/sandbox/registry.h"
#include "tests/utmctl/run.h"
#include "tests/utmctl/stopped_lock_holder.h"

#include <gtest/gtest.h>

namespace {

TEST(registry, show_lists_every_slot_in_use)
{
    register_ids({{0, 7}, {256, 70}, {260, 71}, {513, 70}, {1024, 80}});
    EXPECT_EQ(utmctl("registry show"), (run_result{0,
                                                   "KIND       SLOT ID CF-POLICY APP-POLICY\n"
                                                   "profile       0  7        70          -\n"
                                                   "profile       4  -        71          -\n"
                                                   "cf-policy     1 70         -          -\n"
                                                   "app-policy    0 80         -          -\n",
                                                   ""}));
    EXPECT_EQ(utmctl("-j registry show"),
              (run_result{0,
                          R"({"command":"registry show","status":"done","exit":0,"result":{"cleared":true,"profiles":[)"
                          R"({"slot":0,"id":7,"cf_policy":70,"app_policy":null},)"
                          R"({"slot":4,"id":null,"cf_policy":71,"app_policy":null}],)"
                          R"("cf_policies":[{"slot":1,"id":70}],"app_policies":[{"slot":0,"id":80}]},"errors":[]})"
                          "\n",
                          ""}));
}

TEST(registry, show_clears_nothing)
{
    set_slots({{0, 7}});
    EXPECT_EQ(utmctl("registry show"),
              (run_result{
                  0,
                  "KIND    SLOT ID CF-POLICY APP-POLICY\n"
                  "profile    0  7         -          -\n"
                  "not cleared since the gateway started: the first profile or policy that is created will clear it\n",
                  ""}));
    EXPECT_FALSE(exists(registry_marker));
}

TEST(registry, check_tells_by_its_status)
{
    register_ids({{0, 7}, {512, 8}});
    EXPECT_EQ(utmctl("registry check profile 7"), (run_result{0, "profile 7 is registered\n", ""}));
    EXPECT_EQ(utmctl("-q registry check cf-policy 8"), (run_result{0, "", ""}));
    EXPECT_EQ(
        utmctl("registry check app-policy 8"),
        refused(6, "application policy 8 is not registered: the ID registry does not hold it; 'utmctl registry show' "
                   "tells what it holds\n"));
    const run_result in_json = utmctl("-j registry check app-policy 8");
    EXPECT_TRUE(in_json.out.starts_with(R"({"command":"registry check","status":"unknown-identifier","exit":6,)"
                                        R"("result":{"kind":"app-policy","id":8,"registered":false},"errors":[{)"))
        << in_json;
}

TEST(registry, reserve_and_release)
{
    EXPECT_EQ(utmctl("registry reserve cf-policy 5"), (run_result{0, "5\n", ""}));
    EXPECT_EQ(utmctl("registry reserve app-policy 5"), (run_result{0, "5\n", ""}));
    EXPECT_EQ(utmctl("registry reserve profile 5"), (run_result{0, "5\n", ""}));
    EXPECT_EQ(
        utmctl("registry reserve profile 5"),
        refused(1,
                "profile 5 was not reserved: the ID registry holds it already; choose another identifier, or none to "
                "get one from the clock\n"));
    EXPECT_EQ(utmctl("registry release app-policy 5"),
              (run_result{0, "content-filter policy 5 released\napplication policy 5 released\n", ""}));
    EXPECT_EQ(utmctl("-j registry release profile 5"),
              (run_result{0,
                          R"({"command":"registry release","status":"done","exit":0,)"
                          R"("result":{"id":5,"released":["profile"]},"errors":[]})"
                          "\n",
                          ""}));
    EXPECT_EQ(
        utmctl("registry release profile 5"),
        refused(6, "profile 5 was not released: the ID registry does not hold it; 'utmctl registry show' tells what it "
                   "holds\n"));
}

TEST(registry, init_clears_once)
{
    set_slots({{0, 7}});
    EXPECT_EQ(utmctl("registry init"), (run_result{0, "the registry was cleared\n", ""}));
    EXPECT_EQ(
        utmctl("registry init"),
        (run_result{0, "the registry has been cleared already since the gateway started; nothing was done\n", ""}));
    set_slots({{0, 7}});
    EXPECT_EQ(utmctl("registry init"), (run_result{0, "the registry is in use since the gateway started\n", ""}));
}

TEST(registry, clear_wants_a_yes)
{
    register_ids({{0, 7}});
    EXPECT_EQ(utmctl("registry clear"),
              refused(9, "registry clear was not carried out: it destroys every identifier and "
                         "binding; add --yes if that is what you want\n"));
    EXPECT_EQ(all_slots()[0], 7U);
    EXPECT_EQ(utmctl("registry clear --yes"), (run_result{0, "the registry was cleared\n", ""}));
    EXPECT_EQ(all_slots()[0], 0U);
}

TEST(registry, a_lock_that_is_not_given_back_ends_at_the_deadline)
{
    const stopped_lock_holder holder;
    EXPECT_EQ(utmctl("--timeout 0.3 registry check profile 7"),
              refused(3, "profile 7 was not looked up: " + holder.told_within("0.3")));
}

} // namespace
