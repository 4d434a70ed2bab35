// The budget of every exported operation: its system calls, and the blocks that it takes from the heap and gives back.

#include "tests/counts/operations.h"
#include "tests/counts/tracer.h"

#include <dlfcn.h>
#include <fstream>
#include <set>

using namespace counts;

namespace {

class budget : public testing::TestWithParam<operation> {};

TEST_P(budget, is_kept)
{
    const operation& tested = GetParam();
    use_everything_once();
    const gateway gateway(tested.answer);
    const cost expected = {tested.budget.names, tested.heap.taken, tested.heap.given_back};
    EXPECT_EQ(cost_of(tested.prepare, tested.call), expected) << tested.name;
}

INSTANTIATE_TEST_SUITE_P(operations, budget, testing::ValuesIn(operations()), name_of);

TEST(budget_of_all, has_a_row_for_every_exported_function)
{
    std::set<std::string> exported;
    std::ifstream list(KQUTM_EXPORTS);
    for (std::string line; std::getline(list, line);) {
        if (line.front() == '\t' && line != "\t*;")
            exported.insert(line.substr(1, line.size() - 2));
    }
    std::set<std::string> counted;
    for (const operation& operation : operations())
        counted.insert(operation.name);
    EXPECT_EQ(counted, exported);
}

TEST(budget_of_all, is_that_of_the_shared_library)
{
    Dl_info found;
    ASSERT_NE(dladdr(dlsym(RTLD_DEFAULT, "utm_ips_reset"), &found), 0);
    EXPECT_NE(std::string(found.dli_fname).find("libkqutm.so"), std::string::npos) << found.dli_fname;
}

} // namespace
