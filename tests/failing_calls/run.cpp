#include "tests/failing_calls/run.h"

#include "kqutm/cf.h"
#include "kqutm/daemon.h"
#include "kqutm/registry.h"

#include "tests/sandbox/held.h"
#include "tests/wrap/wrap.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sched.h>
#include <sstream>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

namespace failing_calls {

namespace {

constexpr int most_calls = 40; // of one function in one operation: 22 attempts to connect, and some

constexpr unsigned longest_wait = 60; // seconds: a call that waits for ever ends the process

std::vector<int> semaphore_sets()
{
    std::ifstream all("/proc/sysvipc/sem");
    std::string line;
    std::getline(all, line); // names of the columns
    std::vector<int> found;
    long key = 0;
    for (int set = -1; std::getline(all, line) && std::istringstream(line) >> key >> set;)
        found.push_back(set);
    return found;
}

// The semaphores that are taken.
long locks()
{
    const std::vector<int> sets = semaphore_sets();
    return std::count_if(sets.begin(), sets.end(), [](int set) { return semctl(set, 0, GETVAL, 0L) == 0; });
}

// What a process holds; as a text, what it holds more than before.
struct holdings {
    long descriptors = open_descriptors();
    long attached = attached_segments();
    long locked = locks();
    long blocks = 0;

    std::string since(const holdings& before) const
    {
        std::string more;
        const auto tell = [&](long now, long then, const char* what) {
            if (now != then)
                more += (more.empty() ? "" : ", ") + std::to_string(now - then) + " " + what;
        };
        tell(blocks, before.blocks, "blocks");
        tell(attached, before.attached, "attached");
        tell(locked, before.locked, "locked");
        tell(descriptors, before.descriptors, "descriptors");
        return more;
    }
};

// A semaphore can be set, taken and given back in vain only when somebody has removed it; one that merely refused would
// stay taken, and the next lock would wait for ever.
void remove_semaphores()
{
    for (int set : semaphore_sets())
        semctl(set, 0, IPC_RMID, 0L);
}

void set_up(wrap::plan& plan, const fault& fault)
{
    plan.answer("usleep", wrap::every, 0);
    const int last = fault.lasting ? fault.nth + most_calls : fault.nth;
    for (int nth = fault.nth; nth <= last; nth++) {
        if (fault.function == "semctl" || (fault.function == "semop" && fault.error != EINTR))
            plan.before(fault.function, nth, remove_semaphores);
        else
            plan.fail(fault.function, nth, fault.error);
    }
}

// Blocks that were taken from the heap.
int blocks_taken(const wrap::plan& plan, const fault& fault)
{
    const auto taken = [&](const std::string& function) {
        const int calls = plan.count(function);
        if (function != fault.function || calls < fault.nth)
            return calls;
        return fault.lasting ? fault.nth - 1 : calls - 1;
    };
    return taken("malloc") + taken("calloc");
}

// Segments that could not be detached.
int left_attached(const wrap::plan& plan, const fault& fault)
{
    const int calls = plan.count("shmdt");
    if (fault.function != "shmdt" || calls < fault.nth)
        return 0;
    return fault.lasting ? calls - fault.nth + 1 : 1;
}

// Everything that operations leave behind, but for the logs.
constexpr const char* state_files[] = {UTM_ID_MARKER,       UTM_CF_MARKER,   UTM_CF_WEB_SAFE_BROWSING_FILE,
                                       UTM_CF_COMMAND_FILE, UTM_CF_PID_FILE, UTM_CF_WEB_CATEGORY_FILE,
                                       UTM_DEBUG_EVENT_FILE};

// Far quicker than a gateway that has been restarted.
void start_anew(history history)
{
    EXPECT_EQ(unshare(CLONE_NEWIPC), 0); // no semaphore, no segment
    for (const char* file : state_files)
        unlink(file);
    if (history == history::none)
        std::filesystem::remove_all("/tmp/utm_log");
    else
        counts::use_everything_once();
}

outcome call(const counts::operation& operation, history history, const fault& fault)
{
    alarm(longest_wait);
    start_anew(history);
    operation.prepare();
    outcome found;
    const holdings before;
    wrap::plan plan;
    set_up(plan, fault);
    errno = 0;
    const counts::returned returned = operation.call();
    found.error = errno;
    found.blocks = blocks_taken(plan, fault);
    for (const std::string& noted : plan.calls())
        found.calls[noted.substr(0, noted.find('('))]++;
    for (const std::string& noted : plan.calls("semop"))
        found.locking += noted.find(", -1,") != std::string::npos ? '-' : '+';
    found.result = returned.shown();
    returned.release();
    holdings after;
    after.blocks = found.blocks - plan.count("free");
    after.attached -= left_attached(plan, fault);
    found.kept = after.since(before);
    return found;
}

[[noreturn]] void call_and_tell(const counts::operation& operation, history history, const fault& fault, int to)
{
    const bool failed_before = testing::Test::HasFailure();
    const outcome found = call(operation, history, fault);
    std::ostringstream told;
    told << found.result << '\n'
         << found.kept << '\n'
         << found.locking << '\n'
         << found.error << ' ' << found.blocks << '\n';
    for (const auto& [function, count] : found.calls)
        told << function << ' ' << count << '\n';
    const std::string text = told.str();
    (void)!write(to, text.data(), text.size());
    _exit(testing::Test::HasFailure() && !failed_before ? EXIT_FAILURE : EXIT_SUCCESS);
}

std::string read_all(int from)
{
    std::string text;
    char piece[4096];
    for (ssize_t size; (size = read(from, piece, sizeof piece)) > 0;)
        text.append(piece, static_cast<size_t>(size));
    return text;
}

outcome parsed(const std::string& text)
{
    std::istringstream told(text);
    outcome found;
    std::getline(told, found.result);
    std::getline(told, found.kept);
    std::getline(told, found.locking);
    told >> found.error >> found.blocks;
    int count = 0;
    for (std::string function; told >> function >> count;)
        found.calls[function] = count;
    return found;
}

} // namespace

outcome run(const counts::operation& operation, history history, const fault& fault)
{
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const pid_t process = fork();
    if (process == 0)
        call_and_tell(operation, history, fault, ends[1]);
    close(ends[1]);
    const outcome found = parsed(read_all(ends[0]));
    close(ends[0]);
    int status = -1;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    EXPECT_EQ(status, 0) << operation.name << " with " << fault.function << ' ' << fault.nth;
    return found;
}

} // namespace failing_calls
