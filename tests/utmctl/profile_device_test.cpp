#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/registry.h"
#include "tests/utmctl/profile_texts.h"
#include "tests/utmctl/run.h"

#include <gtest/gtest.h>

namespace {

TEST(profile_device, devices_travel_as_six_bytes)
{
    const config_daemons daemons;
    register_ids({{0, 7}});
    EXPECT_EQ(utmctl("profile add-device 7 02:42:ac:11:00:05 02-42-AC-11-00-06"),
              (run_result{0, "02:42:ac:11:00:05 added to profile 7\n02-42-AC-11-00-06 added to profile 7\n", ""}));
    const sim::bytes last = daemons.request_of(user_profile_path);
    EXPECT_EQ(sim::bytes(last.begin() + 8, last.begin() + 14), (sim::bytes{0x02, 0x42, 0xac, 0x11, 0x00, 0x06}));
    EXPECT_EQ(utmctl("profile del-device 7 02:42:ac:11:00:05"),
              (run_result{0, "02:42:ac:11:00:05 removed from profile 7\n", ""}));
}

TEST(profile_device, a_device_refused_by_one_daemon)
{
    const config_daemons daemons({.app = 2});
    register_ids({{0, 7}});
    EXPECT_EQ(
        utmctl("profile add-device 7 02:42:ac:11:00:05"),
        refused(8, "02:42:ac:11:00:05 was added to profile 7 in part (accepted by the content-filter and user-profile "
                   "daemons; in the registry): the application daemon (/dev/utm_app_config_socket) refused with error "
                   "code 2; the daemon's own log tells the reason\n"));
}

TEST(profile_device, a_device_refused_by_the_deciding_daemon)
{
    const config_daemons daemons({.cf = 1, .user_profile = 2});
    register_ids({{0, 7}});
    EXPECT_EQ(
        utmctl("profile del-device 7 02:42:ac:11:00:05"),
        refused(1,
                "02:42:ac:11:00:05 was not removed from profile 7 (accepted by the application daemon; in the "
                "registry): the content-filter daemon (/dev/utm_cf_config_socket) refused with error code 1, and the "
                "user-profile daemon (/dev/utm_user_profile_socket) refused with error code 2; the daemons' own logs "
                "tell the reason\n"));
}

TEST(profile_device, the_log_is_followed_through_its_rotation)
{
    const config_daemons daemons({.cf = 1});
    register_ids({{0, 7}});
    make_sparse_file("/tmp/utm_log/utm_libappcf_config_log", 5 * 1024 * 1024 + 1);
    EXPECT_EQ(utmctl("profile add-device 7 02:42:ac:11:00:05").status, 8);
    EXPECT_TRUE(exists("/tmp/utm_log/utm_libappcf_config_log2"));
}

TEST(profile_device, list_shows_the_bindings)
{
    EXPECT_EQ(utmctl("profile list"), (run_result{0, "ID CF-POLICY APP-POLICY\n", ""}));
    register_ids({{0, 7}, {3, 8}, {259, 70}, {771, 80}});
    EXPECT_EQ(utmctl("profile list"), (run_result{0,
                                                  "ID CF-POLICY APP-POLICY\n"
                                                  " 7         -          -\n"
                                                  " 8        70         80\n",
                                                  ""}));
    EXPECT_EQ(utmctl("--no-headers profile list"),
              (run_result{0, " 7         -          -\n 8        70         80\n", ""}));
    EXPECT_EQ(utmctl("profile list -j"), (run_result{0,
                                                     R"({"command":"profile list","status":"done","exit":0,"result":[)"
                                                     R"({"slot":0,"id":7,"cf_policy":null,"app_policy":null},)"
                                                     R"({"slot":3,"id":8,"cf_policy":70,"app_policy":80}],"errors":[]})"
                                                     "\n",
                                                     ""}));
}

} // namespace
