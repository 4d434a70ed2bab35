// Every call of libc that an operation makes fails, one after the other: alone, and with all its like that follow. Each
// time the operation returns what it should, and gives back what it took.

#include "tests/failing_calls/rules.h"
#include "tests/failing_calls/run.h"
#include "tests/failing_calls/steps.h"
#include "tests/failing_calls/surroundings.h"

#include <cerrno>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

using namespace failing_calls;
using counts::daemons;
using counts::operation;

namespace {

// An identifier from the clock is another one each time.
bool is_from_clock(const std::string& result)
{
    return is_number(result) && atol(result.c_str()) > 1000000000;
}

// The last attempt to connect counts.
bool is_repeated(const scene& scene, const fault& fault, const outcome& found)
{
    return fault.function == "connect" && found.count("connect") > scene.undisturbed.count("connect") && !fault.lasting;
}

// A wait for a lock that a signal interrupts is taken up again.
bool is_waiting_on(const scene& scene, const fault& fault)
{
    return fault.function == "semop" && fault.error == EINTR && !is_one_semop(scene.tested.name);
}

void expect_outcome(const scene& scene, const fault& fault, bool spares, const outcome& found)
{
    const bool goes_on = is_waiting_on(scene, fault) || is_repeated(scene, fault, found);
    const expectation expected =
        goes_on ? expect_usual(scene, fault) : expect(scene, fault, spares && !is_one_semop(scene.tested.name));
    if (!is_from_clock(found.result) || !is_from_clock(expected.result)) {
        EXPECT_EQ(found.result, expected.result);
    }
    if (!expected.has_any_error) {
        EXPECT_EQ(found.error, expected.error) << strerror(found.error);
    }
    if (expected.told) {
        EXPECT_EQ(told_by(found), expected.told);
    }
    EXPECT_EQ(found.left, expected.left);
    EXPECT_EQ(found.stored, expected.stored);
}

void expect_kept(const scene& scene, const fault& fault, const outcome& found)
{
    const std::string name = scene.tested.name;
    if (name == "dump_utm_profile_mapping" && fault.function == "malloc") {
        EXPECT_EQ(found.kept, "1 attached, 1 locked");
        return;
    }
    if (keeps_what_it_got(name) && found.kept.empty())
        return; // it did not get so far
    const std::string abandoned = found.blocks == 0 ? "" : std::to_string(found.blocks) + " blocks";
    EXPECT_EQ(found.kept, abandons_blocks(name) && found.result == failure_value(scene, fault)
                              ? abandoned
                              : scene.undisturbed.kept);
}

// A lock that is given back does not wait for a signal to come. A mask that is well formed is never refused, and
// without one the library cannot keep SIGPIPE away.
bool cannot_happen(const scene& scene, const fault& fault)
{
    if (fault.function == "semop" && fault.error == EINTR)
        return failing_steps(scene.undisturbed, fault).front().name.ends_with("unlock");
    return fault.function == "pthread_sigmask" && scene.undisturbed.count("sigtimedwait") != 0;
}

const std::set<std::string> cannot_fail = {"free", "freeifaddrs", "time"};

class failing : public testing::TestWithParam<operation> {
public:
    static void TearDownTestSuite()
    {
        std::cout << "Failure points driven: " << points << ", in " << runs << " runs of " << all_operations().size()
                  << " operations\n";
        if (!is_whole_run())
            return;
        std::istringstream wrapped(WRAPPED_CALLS);
        for (std::string call; wrapped >> call;) {
            if (cannot_fail.count(call) == 0) {
                EXPECT_NE(driven[call], 0) << call << " is never made to fail";
            }
        }
    }

protected:
    static void drive(const scene& scene, const failing_call& call);

    // Rather than a few chosen tests.
    static bool is_whole_run()
    {
        const testing::UnitTest& tests = *testing::UnitTest::GetInstance();
        return tests.test_to_run_count() == tests.total_test_count();
    }

    static std::map<std::string, int> driven; // failure points, by function
    static int points;
    static int runs;
};

std::map<std::string, int> failing::driven;
int failing::points = 0;
int failing::runs = 0;

void failing::drive(const scene& scene, const failing_call& call)
{
    const int calls = scene.undisturbed.count(call.function);
    for (fault fault = {call.function, call.error, 1, false}; fault.nth <= calls; fault.nth++) {
        if (cannot_happen(scene, fault))
            continue;
        points++;
        driven[call.function]++;
        for (fault.lasting = false;; fault.lasting = true) {
            SCOPED_TRACE(std::string(scene.tested.name) + ": " + call.function + " " + std::to_string(fault.nth) +
                         (fault.lasting ? " and all that follow" : ""));
            const outcome outcome = run(scene.tested, scene.before, fault);
            runs++;
            expect_outcome(scene, fault, call.spares, outcome);
            expect_kept(scene, fault, outcome);
            if (fault.lasting || call.spares || call.again || outcome.count(call.function) == fault.nth)
                break;
        }
    }
}

TEST_P(failing, calls)
{
    const counts::gateway gateway(GetParam().answer);
    const scene usual = {GetParam(), history::everything_used_once,
                         run(GetParam(), history::everything_used_once, no_fault)};
    const scene first = {GetParam(), history::none, run(GetParam(), history::none, no_fault)};
    for (const failing_call& call : all_failing_calls()) {
        drive(usual, call);
        if (!call.again && first.undisturbed.calls != usual.undisturbed.calls)
            drive(first, call);
    }
}

TEST_P(failing, calls_towards_daemons_that_refuse)
{
    operation refused = GetParam();
    refused.answer = daemons::refuse;
    const counts::gateway gateway(refused.answer);
    const scene scene = {refused, history::everything_used_once, run(refused, history::everything_used_once, no_fault)};
    for (const failing_call& call : all_failing_calls()) {
        if (!call.spares && !call.again)
            drive(scene, call);
    }
}

INSTANTIATE_TEST_SUITE_P(operations, failing, testing::ValuesIn(all_operations()), counts::name_of);

} // namespace
