// The main of every test program: enters a gateway's view of the machine once, and starts each test on a gateway that
// has just been booted. A machine that refuses private namespaces fails the program.

#include "sim/namespaces.h"
#include "tests/sandbox/held.h"

#include <gtest/gtest.h>

namespace {

class fresh_gateway : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override
    {
        sim::restart_view();
        descriptors_ = open_descriptors();
    }

    void OnTestEnd(const testing::TestInfo&) override
    {
        EXPECT_EQ(open_descriptors(), descriptors_) << "descriptors were left open";
    }

    long descriptors_ = 0;
};

int run_tests()
{
    testing::UnitTest::GetInstance()->listeners().Append(new fresh_gateway);
    return RUN_ALL_TESTS();
}

} // namespace

int main(int count, char** arguments)
{
    testing::InitGoogleTest(&count, arguments);
    return sim::run_in_namespaces({.library = KQUTM_LIBRARY, .addresses = {}, .kept = {KQUTM_BUILD_FOLDER}}, run_tests);
}
