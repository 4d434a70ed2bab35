// A crowd of processes and threads on one gateway, interrupted by signals and killed: the registry, the UUID and the
// logs stay what completed operations have made them, and no daemon is said to have done what it did not.

#include "kqutm/common.h"
#include "kqutm/devid.h"
#include "kqutm/ips.h"
#include "kqutm/registry.h"

#include "tests/engines/engines.h"
#include "tests/sandbox/registry.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <sstream>
#include <sys/mman.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr size_t process_count = 64;
constexpr size_t threads_each = 8;
constexpr size_t thread_count = process_count * threads_each;
constexpr int rounds = 4;

enum class hold {
    free,
    changing, // an operation is under way
    reserved
};

// What the processes tell the test.
struct ledger {
    std::array<std::atomic<hold>, thread_count> ids;
    std::array<std::atomic<int>, process_count> progress;
    std::array<std::atomic<bool>, process_count> broken;
    std::array<std::atomic<bool>, thread_count * rounds> accepted; // by the IPS daemon, each round of each thread
};

class shared_ledger {
public:
    shared_ledger()
        : all_(static_cast<ledger*>(
              mmap(nullptr, sizeof(ledger), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)))
    {
    }
    shared_ledger(const shared_ledger&) = delete;
    shared_ledger& operator=(const shared_ledger&) = delete;
    ~shared_ledger() { munmap(all_, sizeof(ledger)); }

    ledger* operator->() const { return all_; }

private:
    ledger* all_;
};

// Half of the threads reserve profiles, half application policies: there is a slot for each, and none to spare.
uint32_t id_of(size_t thread)
{
    return static_cast<uint32_t>(thread / 2 + 1);
}

uint32_t kind_of(size_t thread)
{
    return thread % 2 == 0 ? UTM_ID_USER_PROFILE : UTM_ID_APP_POLICY;
}

bool reserve(const shared_ledger& told, size_t thread)
{
    told->ids[thread] = hold::changing;
    const bool done = get_unique_id(id_of(thread), kind_of(thread)) == static_cast<int>(id_of(thread)) &&
                      check_shm_utm_id(id_of(thread), kind_of(thread)) == 0;
    told->ids[thread] = hold::reserved;
    return done;
}

bool release(const shared_ledger& told, size_t thread)
{
    told->ids[thread] = hold::changing;
    const bool done = reset_utm_id_shm(id_of(thread), kind_of(thread)) == 0;
    told->ids[thread] = hold::free;
    return done;
}

// A UUID is one letter 255 times.
std::string uuid_of(size_t thread)
{
    return std::string(255, static_cast<char>('a' + thread % 26));
}

bool use_uuid(size_t thread)
{
    const std::string mine = uuid_of(thread);
    char found[UTM_UUID_SIZE];
    return utm_uuid_set(mine.c_str()) == 0 && utm_uuid_get(found, sizeof found) == 0 &&
           std::string(found) == std::string(255, found[0]);
}

std::string numbered_line(size_t thread, int round)
{
    return "[thread_" + std::to_string(thread) + "]round " + std::to_string(round) + " of some length";
}

bool write_line(size_t thread, int round)
{
    utm_log(UTM_APPCF_LOG, "%s\n", numbered_line(thread, round).c_str());
    return true;
}

// One daemon accepts each rule, the other refuses everything. Signals make exchanges fail; none may succeed for them.
bool exchange(const shared_ledger& told, size_t thread, int round)
{
    const size_t rule = thread * rounds + static_cast<size_t>(round);
    told->accepted[rule] = utm_ips_set_whitelist(std::to_string(rule).c_str(), 1) == 0;
    const bool explained = told->accepted[rule] || errno == EINTR || errno == ETIMEDOUT;
    return explained && utm_devid_activate(1) != 0;
}

void run_thread(const shared_ledger& told, size_t thread, bool doomed)
{
    const size_t process = thread / threads_each;
    for (int round = 0; doomed || round < rounds; round++) {
        // A process that is killed while it writes the UUID leaves it half written, so the doomed ones do not.
        const bool fine = reserve(told, thread) && (doomed || (use_uuid(thread) && exchange(told, thread, round))) &&
                          write_line(thread, round) && ((!doomed && round == rounds - 1) || release(told, thread));
        if (!fine)
            told->broken[process] = true;
        told->progress[process]++;
    }
}

long held_by_this_process()
{
    namespace fs = std::filesystem;
    long count = std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        count += line.find("/SYSV") != std::string::npos ? 1 : 0;
    return count;
}

// Signals arrive all the time, and interrupt whatever can be interrupted.
void be_interrupted()
{
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr);
    const itimerval often = {.it_interval = {0, 1000}, .it_value = {0, 1000}};
    setitimer(ITIMER_REAL, &often, nullptr);
}

pid_t start_process(const shared_ledger& told, size_t process, bool doomed)
{
    const pid_t child = fork();
    if (child != 0)
        return child;
    be_interrupted();
    const long before = held_by_this_process();
    std::vector<std::thread> threads;
    for (size_t i = 0; i < threads_each; i++)
        threads.emplace_back(run_thread, std::cref(told), process * threads_each + i, doomed);
    for (std::thread& thread : threads)
        thread.join();
    _exit(held_by_this_process() == before && !told->broken[process] ? EXIT_SUCCESS : EXIT_FAILURE);
}

bool is_doomed(size_t process)
{
    return process % 8 == 3;
}

void await_progress(const shared_ledger& told, size_t process)
{
    while (told->progress[process] < static_cast<int>(process % 13))
        usleep(100);
}

std::vector<pid_t> start_crowd(const shared_ledger& told)
{
    std::vector<pid_t> processes;
    for (size_t process = 0; process < process_count; process++)
        processes.push_back(start_process(told, process, is_doomed(process)));
    return processes;
}

void kill_the_doomed(const shared_ledger& told, const std::vector<pid_t>& processes)
{
    for (size_t process = 0; process < process_count; process++) {
        if (!is_doomed(process))
            continue;
        await_progress(told, process);
        kill(processes[process], SIGKILL);
    }
}

void expect_ids(const shared_ledger& told)
{
    const slots table = all_slots();
    for (size_t thread = 0; thread < thread_count; thread++) {
        const auto first =
            table.begin() + static_cast<long>(kind_of(thread) == UTM_ID_USER_PROFILE ? profiles : app_policies);
        const long found = std::count(first, first + 256, id_of(thread));
        if (told->ids[thread] == hold::changing)
            EXPECT_LE(found, 1) << thread;
        else
            EXPECT_EQ(found, told->ids[thread] == hold::reserved ? 1 : 0) << thread;
    }
}

std::multiset<std::string> lines_of_survivors()
{
    std::multiset<std::string> lines;
    for (size_t thread = 0; thread < thread_count; thread++) {
        for (int round = 0; round < rounds && !is_doomed(thread / threads_each); round++)
            lines.insert(numbered_line(thread, round));
    }
    return lines;
}

void expect_whole_lines()
{
    const std::regex shape("\\[thread_([0-9]+)\\]round [0-9]+ of some length");
    std::istringstream log(appcf_log());
    std::multiset<std::string> of_survivors;
    for (std::string line; std::getline(log, line);) {
        std::smatch found;
        ASSERT_TRUE(std::regex_match(line, found, shape)) << line;
        if (!is_doomed(std::stoul(found[1]) / threads_each))
            of_survivors.insert(line);
    }
    EXPECT_EQ(of_survivors, lines_of_survivors());
}

// What was accepted had arrived. The other way round does not hold: a signal may come between request and answer.
void expect_accepted_rules(const shared_ledger& told, const engine_daemon& ips)
{
    std::set<std::string> arrived;
    for (const sim::bytes& request : ips.requests())
        arrived.insert(request.size() < 31 ? "" : reinterpret_cast<const char*>(request.data()) + 20);
    for (size_t rule = 0; rule < told->accepted.size(); rule++)
        EXPECT_TRUE(!told->accepted[rule] || arrived.count(std::to_string(rule)) == 1) << rule;
}

TEST(crowd, leaves_what_completed_operations_made)
{
    // Who loses the race to create a semaphore or a segment fails, so they are there before.
    ASSERT_EQ(init_utm_id_shm(), 0);
    ASSERT_EQ(utm_uuid_set(uuid_of(0).c_str()), 0);
    const shared_ledger told;
    const engine_daemon ips(ips_path, records{ips_reply(0)});
    const engine_daemon devid(devid_path, records{devid_reply(7)});
    const std::vector<pid_t> processes = start_crowd(told);
    kill_the_doomed(told, processes);
    for (size_t process = 0; process < process_count; process++) {
        int status = -1;
        EXPECT_EQ(waitpid(processes[process], &status, 0), processes[process]);
        EXPECT_EQ(status, is_doomed(process) ? SIGKILL : 0) << process;
    }
    EXPECT_EQ(semaphore_value(), 1);
    expect_ids(told);
    expect_whole_lines();
    expect_accepted_rules(told, ips);
    EXPECT_EQ(utm_ips_set_whitelist("quiet", 1), 0) << "without a signal";
    EXPECT_EQ(utm_devid_activate(1), 7);
}

} // namespace
