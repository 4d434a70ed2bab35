#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/registry.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

TEST(shared_library, does_not_call_functions_of_the_program_with_the_names_of_its_own)
{
    config_daemons daemons;
    EXPECT_EQ(system(NAMES_OF_ITS_OWN), 0);
    EXPECT_EQ(daemons.told(), (std::vector<std::string>{cf_path, user_profile_path, app_path}));
    EXPECT_EQ(slot(profiles), 7U);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

} // namespace
