#include "tests/failing_calls/run.h"

#include "kqutm/cf.h"
#include "kqutm/daemon.h"
#include "kqutm/registry.h"

#include "tests/counts/operations.h"
#include "tests/sandbox/held.h"
#include "tests/sandbox/paths.h"
#include "tests/wrap/wrap.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sched.h>
#include <sstream>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

namespace failing_calls {

namespace {

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
    const int nth = fault.lasting ? wrap::from(fault.nth) : fault.nth;
    if (fault.function == "semctl" || (fault.function == "semop" && fault.error != EINTR))
        plan.before(fault.function, nth, remove_semaphores);
    else
        plan.fail(fault.function, nth, fault.error);
}

// Blocks that were taken from the heap.
int blocks_taken(const wrap::plan& plan)
{
    int taken = 0;
    for (const char* function : {"malloc", "calloc"})
        taken += plan.count(function) - plan.failures(function);
    return taken;
}

// Everything that operations leave behind, but for the logs.
constexpr const char* state_files[] = {UTM_ID_MARKER,       UTM_CF_MARKER,   UTM_CF_WEB_SAFE_BROWSING_FILE,
                                       UTM_CF_COMMAND_FILE, UTM_CF_PID_FILE, UTM_CF_WEB_CATEGORY_FILE,
                                       UTM_DEBUG_EVENT_FILE};

// The slots of the registry that are taken. An identifier from the clock is another one each time.
std::string slots_in(const void* registry)
{
    std::string text;
    for (size_t at = 0; at < sizeof(utm_id_registry) / sizeof(uint32_t); at++) {
        const uint32_t id = static_cast<const uint32_t*>(registry)[at];
        if (id != 0)
            text += " " + std::to_string(at) + "=" + (id > 1000000000 ? "clock" : std::to_string(id));
    }
    return text;
}

std::string text_in(const void* common)
{
    return static_cast<const char*>(common);
}

std::string shown(int project, std::string (*show)(const void*))
{
    const int segment = shmget(ftok(key_file, project), 0, 0);
    if (segment < 0)
        return "";
    const void* address = shmat(segment, nullptr, SHM_RDONLY);
    std::string text = show(address);
    shmdt(address);
    return text;
}

// What registry and common segment hold.
std::string stored()
{
    return shown('a', slots_in) + "; " + shown('q', text_in);
}

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
    found.stored_before = stored();
    counts::spoil_left();
    found.left_before = counts::left();
    const holdings before;
    std::optional<wrap::plan> plan(std::in_place);
    set_up(*plan, fault);
    errno = 0;
    const counts::returned returned = operation.call();
    found.error = errno;
    found.blocks = blocks_taken(*plan);
    found.calls = plan->calls();
    found.left = counts::left();
    found.result = returned.shown();
    returned.release();
    holdings after;
    after.blocks = found.blocks - plan->count("free");
    after.attached -= plan->failures("shmdt");
    found.kept = after.since(before);
    plan.reset();
    found.stored = stored();
    return found;
}

// Each text ends with a zero byte.
[[noreturn]] void call_and_tell(const counts::operation& operation, history history, const fault& fault, int to)
{
    const bool failed_before = testing::Test::HasFailure();
    const outcome found = call(operation, history, fault);
    std::string told;
    for (const std::string& text : {found.result, std::to_string(found.error), found.kept, std::to_string(found.blocks),
                                    found.left_before, found.left, found.stored_before, found.stored})
        told += text + '\0';
    for (const std::string& call : found.calls)
        told += call + '\0';
    (void)!write(to, told.data(), told.size());
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
    const auto next = [&told] {
        std::string piece;
        std::getline(told, piece, '\0');
        return piece;
    };
    outcome found;
    found.result = next();
    found.error = atoi(next().c_str());
    found.kept = next();
    found.blocks = atoi(next().c_str());
    found.left_before = next();
    found.left = next();
    found.stored_before = next();
    found.stored = next();
    for (std::string call; std::getline(told, call, '\0');)
        found.calls.push_back(call);
    return found;
}

} // namespace

int outcome::count(const std::string& function) const
{
    return static_cast<int>(std::count_if(calls.begin(), calls.end(),
                                          [&](const std::string& call) { return call.starts_with(function + "("); }));
}

outcome run(const counts::operation& operation, history history, const fault& fault)
{
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const pid_t process = fork();
    if (process == 0)
        call_and_tell(operation, history, fault, ends[1]);
    close(ends[1]);
    outcome found = parsed(read_all(ends[0]));
    close(ends[0]);
    int status = -1;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    EXPECT_EQ(status, 0) << operation.name << " with " << fault.function << ' ' << fault.nth;
    return found;
}

} // namespace failing_calls
