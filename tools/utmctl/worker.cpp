#include "tools/utmctl/worker.h"

#include "tools/utmctl/descriptor.h"
#include "tools/utmctl/rehearsal.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using clock_type = std::chrono::steady_clock;

[[noreturn]] void cannot_start(const std::string& what, const char* step)
{
    throw failure(
        {.status = exit_status::protocol_error,
         .what = what,
         .culprits = {{"the worker process", "", std::string("cannot be started: ") + step + ": " + strerror(errno)}},
         .next = "free memory, processes or descriptors and run the command again"});
}

void write_all(int fd, const std::vector<uint8_t>& bytes)
{
    for (size_t done = 0; done < bytes.size();) {
        ssize_t written = write(fd, bytes.data() + done, bytes.size() - done);
        if (written < 0 && errno != EINTR)
            _exit(1);
        done += written > 0 ? static_cast<size_t>(written) : 0;
    }
}

// As it passes from the worker to the command.
json written(const kqutm::result<json>& result)
{
    if (result)
        return {{"value", *result}};
    return {{"returned", result.error().returned}, {"errno", result.error().error}};
}

kqutm::result<json> read_back(const json& passed)
{
    if (passed.contains("value"))
        return passed["value"];
    return kqutm::cause{.returned = passed["returned"], .error = passed["errno"]};
}

// The worker ends with its parent, so that nothing is left behind when the command itself is killed.
[[noreturn]] void work(const std::function<kqutm::result<json>()>& body, int result, int printed, pid_t parent)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(1);
    dup2(printed, STDOUT_FILENO);
    dup2(printed, STDERR_FILENO);
    errno = 0;
    const json passed = written(body());
    fflush(stdout);
    write_all(result, json::to_cbor(passed));
    _exit(0);
}

int milliseconds_until(clock_type::time_point deadline)
{
    auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - clock_type::now());
    return static_cast<int>(std::max<long>(left.count(), 0));
}

// Everything up to the end of the pipe. False at the deadline.
bool read_until(int fd, clock_type::time_point deadline, std::vector<uint8_t>& bytes)
{
    uint8_t block[65536];
    for (;;) {
        pollfd wanted = {.fd = fd, .events = POLLIN, .revents = 0};
        int ready = poll(&wanted, 1, milliseconds_until(deadline));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            return false;
        ssize_t size = read(fd, block, sizeof block);
        if (size <= 0)
            return true;
        bytes.insert(bytes.end(), block, block + size);
    }
}

std::string content_of(int fd)
{
    std::string text;
    char block[4096];
    off_t at = 0;
    for (ssize_t size; (size = pread(fd, block, sizeof block, at)) > 0; at += size)
        text.append(block, static_cast<size_t>(size));
    return text;
}

std::string& all_printed()
{
    static std::string text;
    return text;
}

int wait_for(pid_t worker)
{
    int status = 0;
    while (waitpid(worker, &status, 0) < 0 && errno == EINTR)
        ;
    return status;
}

[[noreturn]] void tell_overdue(const std::string& what, double seconds, const awaited& whom)
{
    char limit[32];
    snprintf(limit, sizeof limit, "%g", seconds);
    throw failure(overdue_call(what, std::string("within ") + limit + " s", whom));
}

[[noreturn]] void tell_death(const std::string& what, int status, const awaited& whom)
{
    std::string how = WIFSIGNALED(status) ? std::string("was killed by signal ") + std::to_string(WTERMSIG(status)) +
                                                " (" + strsignal(WTERMSIG(status)) + ")"
                                          : "ended with status " + std::to_string(WEXITSTATUS(status));
    throw failure({.status = exit_status::protocol_error,
                   .what = what,
                   .culprits = {{"the worker process", "", how + " during the call"}},
                   .next = whom.registry_lock ? "'utmctl registry show' tells what the registry holds"
                                              : "run the command again"});
}

} // namespace

const std::string& printed_so_far()
{
    return all_printed();
}

kqutm::result<kqutm::done> done_if_zero(int32_t returned)
{
    if (returned == 0)
        return kqutm::done();
    return kqutm::cause{.returned = returned, .error = errno};
}

kqutm::result<json> with_errno(const kqutm::result<kqutm::done>& result)
{
    return result.transform([error = errno](kqutm::done) { return json(error); });
}

call_result call_in_worker(const std::string& what, double seconds, const std::function<kqutm::result<json>()>& body,
                           const awaited& whom)
{
    if (rehearsal::current() != nullptr) { // which runs in a worker already
        errno = 0;
        return {body(), ""};
    }
    const auto deadline =
        clock_type::now() + std::chrono::duration_cast<clock_type::duration>(std::chrono::duration<double>(seconds));
    descriptor printed(memfd_create("utmctl-printed", MFD_CLOEXEC));
    int ends[2];
    if (printed.get() < 0 || pipe2(ends, O_CLOEXEC) != 0)
        cannot_start(what, "pipe");
    descriptor result(ends[0]);
    descriptor worker_end(ends[1]);
    const pid_t parent = getpid();
    const pid_t worker = fork();
    if (worker < 0)
        cannot_start(what, "fork");
    if (worker == 0)
        work(body, worker_end.get(), printed.get(), parent);
    worker_end.reset();

    std::vector<uint8_t> bytes;
    const bool in_time = read_until(result.get(), deadline, bytes);
    if (!in_time)
        kill(worker, SIGKILL);
    const int status = wait_for(worker);
    const std::string text = content_of(printed.get());
    all_printed() += text;
    if (!in_time)
        tell_overdue(what, seconds, whom);
    const json handed_back = json::from_cbor(bytes, true, false);
    if (status != 0 || handed_back.is_discarded())
        tell_death(what, status, whom);
    return {read_back(handed_back), text};
}
