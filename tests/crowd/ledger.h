#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

// Who is in the crowd, what its members want, and what they tell the test.
namespace crowd {

constexpr size_t process_count = CROWD_PROCESSES;
constexpr size_t threads_each = 8;
constexpr size_t thread_count = process_count * threads_each;
constexpr int rounds = 4;

// What happens to a process while it works. Those that are killed get signals before.
enum class fate {
    undisturbed,
    interrupted,
    stopped,
    killed
};

constexpr fate fate_of(size_t process)
{
    return static_cast<fate>(process % 4);
}

// Identifiers come in three kinds, one after the other. The release of a policy frees its number in both tables of
// policies, so no two identifiers of the crowd have the same number.
constexpr uint32_t kind_of(size_t number)
{
    return static_cast<uint32_t>(number % 3 + 1);
}

constexpr uint32_t first_own = 1; // each thread has one
constexpr uint32_t first_shared = 1000;
constexpr uint32_t first_lasting = 2000;
constexpr uint32_t first_profile = 3000; // those that get bound, with two policies of each kind to choose from
constexpr uint32_t first_cf_policy = 4000;
constexpr uint32_t first_app_policy = 5000;
constexpr uint32_t first_made_profile = 6000;                    // those that come and go
constexpr uint32_t clock_starts[] = {1000000, 2000000, 3000000}; // of each kind

constexpr size_t shared_count = 12;
constexpr size_t lasting_count = 6;
constexpr size_t profile_count = 16;
constexpr size_t made_profile_count = std::min<size_t>(process_count, 32); // no room for one of each process
constexpr size_t seconds_on_clock = 64;                                    // more than threads that ask at once

enum class hold {
    free,
    changing, // an operation is under way
    reserved
};

// An identifier that many want.
struct contested {
    std::atomic<size_t> holder; // the thread's number and 1
    std::atomic<int> grants;
};

struct ledger {
    std::atomic<bool> open; // the daemons are there
    std::array<std::atomic<int>, process_count> progress;
    std::array<std::atomic<const char*>, process_count> broken; // what a thread did when something was wrong
    std::array<std::atomic<long>, process_count> bindings;      // each leaves the registry attached
    std::array<std::atomic<hold>, thread_count> own;
    std::array<std::atomic<hold>, made_profile_count> made;
    std::array<contested, shared_count> shared;                                // given back
    std::array<std::atomic<size_t>, thread_count> wanted;                      // of the shared ones, its number and 1
    std::array<contested, lasting_count> lasting;                              // never given back
    std::array<contested, seconds_on_clock * std::size(clock_starts)> seconds; // chosen by the clock, given back
    std::array<std::atomic<bool>, thread_count * rounds> accepted; // by the IPS daemon, each round of each thread
};

} // namespace crowd
