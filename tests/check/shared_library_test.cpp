#include "tests/engines/devices.h"
#include "tests/sandbox/registry.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

TEST(shared_library, does_not_call_functions_of_the_program_with_the_names_of_its_own)
{
    config_daemons daemons;
    engine_daemon ips(ips_path, records{ips_reply(1), ips_reply(0)});
    engine_daemon devid(devid_path, records{device("lamp"), end_marker()});
    engine_daemon av(av_path, records{av_reply(0), av_reply(-1)});
    engine_daemon ir(ir_path, records{ir_reply(0)});
    EXPECT_EQ(system(NAMES_OF_ITS_OWN), 0);
    EXPECT_EQ(daemons.told(), (std::vector<std::string>{cf_path, user_profile_path, app_path}));
    EXPECT_EQ(slot(profiles), 7U);
    EXPECT_EQ(ips_log(), line_of("utm_ips_show_customizelist", "without white list"));
    EXPECT_FALSE(exists("/tmp/utm_log/utm_libappcf_config_log"));
}

} // namespace
