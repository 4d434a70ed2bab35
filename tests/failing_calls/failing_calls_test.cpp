// Every call of libc that an operation makes fails, one after the other: alone, and with all its like that follow. Each
// time the operation returns what it should, and gives back what it took.

#include "tests/failing_calls/rules.h"
#include "tests/failing_calls/run.h"
#include "tests/failing_calls/surroundings.h"

#include <cerrno>
#include <iostream>

using namespace failing_calls;
using counts::daemons;
using counts::operation;

namespace {

// A timestamp of 0 is a failure by the errno that goes with it.
bool is_failure(const scene& scene, const fault& fault, const outcome& found)
{
    return found.result == failure_value(scene, fault) && (found.result != "0" || found.error != 0);
}

bool is_shorter_list(const scene& scene, const outcome& found)
{
    return !is_number(found.result) && atoi(found.result.c_str()) < atoi(scene.undisturbed.result.c_str());
}

// An identifier from the clock is another one each time.
bool is_from_clock(const std::string& result)
{
    return is_number(result) && atol(result.c_str()) > 1000000000;
}

bool is_same_result(const scene& scene, const outcome& found)
{
    return found.result == scene.undisturbed.result ||
           (is_from_clock(found.result) && is_from_clock(scene.undisturbed.result));
}

// The last attempt to connect counts.
bool is_repeated(const scene& scene, const fault& fault, const outcome& found)
{
    return fault.function == "connect" && found.calls.at("connect") > scene.undisturbed.calls.at("connect") &&
           !fault.lasting;
}

// The errno of a call that fails; where it fails to find what is there, that of the attempt to create it. Without its
// key a segment is another one, and empty.
bool is_cause(const fault& fault, int error)
{
    if (fault.function == "ftok")
        return error == fault.error || error == ENOENT || error == 0;
    if (fault.function == "semget" || fault.function == "shmget")
        return error == fault.error || error == EEXIST;
    return error == fault.error;
}

void expect_result(const scene& scene, const fault& fault, bool spares, const outcome& found)
{
    const std::string name = scene.tested.name;
    if (name == "dump_utm_profile_mapping" && fault.function == "access") {
        EXPECT_EQ(found.result, "null"); // a marker that cannot be seen clears the registry
        return;
    }
    if ((spares && !is_one_semop(name)) || is_repeated(scene, fault, found)) {
        EXPECT_TRUE(is_same_result(scene, found)) << found.result;
        return;
    }
    if (is_failure(scene, no_fault, scene.undisturbed)) {
        EXPECT_TRUE(is_failure(scene, fault, found) || succeeds_without_lock(name)) << found.result;
        EXPECT_TRUE(found.error == scene.undisturbed.error || is_cause(fault, found.error)) << strerror(found.error);
        return;
    }
    if (is_spared(scene, fault)) {
        EXPECT_TRUE(is_same_result(scene, found)) << found.result;
        return;
    }
    EXPECT_TRUE(is_failure(scene, fault, found) || is_shorter_list(scene, found)) << found.result;
    EXPECT_TRUE(is_cause(fault, found.error)) << strerror(found.error);
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
    EXPECT_EQ(found.kept,
              abandons_blocks(name) && is_failure(scene, fault, found) ? abandoned : scene.undisturbed.kept);
}

// A lock that is given back does not wait for a signal to come. A mask that is well formed is never refused, and
// without one the library cannot keep SIGPIPE away.
bool cannot_happen(const scene& scene, const fault& fault)
{
    if (fault.function == "semop" && fault.error == EINTR)
        return scene.undisturbed.locking[static_cast<size_t>(fault.nth) - 1] == '+';
    return fault.function == "pthread_sigmask" && scene.undisturbed.calls.count("sigtimedwait") != 0;
}

class failing : public testing::TestWithParam<operation> {
public:
    static void TearDownTestSuite()
    {
        std::cout << "Failure points driven: " << points << ", in " << runs << " runs of " << all_operations().size()
                  << " operations\n";
        if (!is_whole_run())
            return;
        for (const failing_call& call : all_failing_calls())
            EXPECT_NE(driven[call.function], 0) << call.function << " is never made to fail";
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
    const auto found = scene.undisturbed.calls.find(call.function);
    const int calls = found == scene.undisturbed.calls.end() ? 0 : found->second;
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
            expect_result(scene, fault, call.spares, outcome);
            expect_kept(scene, fault, outcome);
            if (fault.lasting || call.spares || outcome.calls.at(call.function) == fault.nth)
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
        if (first.undisturbed.calls != usual.undisturbed.calls)
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
        if (!call.spares)
            drive(scene, call);
    }
}

INSTANTIATE_TEST_SUITE_P(operations, failing, testing::ValuesIn(all_operations()), counts::name_of);

} // namespace
