#include "tests/counts/tracer.h"

#include "tests/counts/interposed.h"

#include <csignal>
#include <cstdlib>
#include <malloc.h>
#include <map>
#include <ostream>
#include <stdexcept>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace counts {

namespace {

const std::map<uint64_t, std::string> names = {
#ifdef SYS_access
    {SYS_access, "access"},    {SYS_chmod, "chmod"},     {SYS_unlink, "unlink"},
#endif
    {SYS_bind, "bind"},        {SYS_close, "close"},     {SYS_connect, "connect"},
    {SYS_faccessat, "access"}, {SYS_fchmodat, "chmod"},  {SYS_fcntl, "fcntl"},
    {SYS_flock, "flock"},      {SYS_kill, "kill"},       {SYS_listen, "listen"},
    {SYS_newfstatat, "stat"},  {SYS_openat, "open"},     {SYS_pselect6, "select"},
    {SYS_read, "read"},        {SYS_recvfrom, "recv"},   {SYS_rt_sigprocmask, "sigmask"},
    {SYS_semctl, "semctl"},    {SYS_semget, "semget"},   {SYS_semtimedop, "semop"},
    {SYS_semop, "semop"},      {SYS_sendto, "send"},     {SYS_setsockopt, "setsockopt"},
    {SYS_shmat, "shmat"},      {SYS_shmdt, "shmdt"},     {SYS_shmget, "shmget"},
    {SYS_socket, "socket"},    {SYS_unlinkat, "unlink"}, {SYS_write, "write"},
};

std::string name_of(uint64_t number)
{
    const auto found = names.find(number);
    return found != names.end() ? found->second : "call " + std::to_string(number);
}

// Collects the cost from the system calls as they are entered.
class ledger {
public:
    void enter(uint64_t number, const uint64_t* arguments)
    {
        if (number == SYS_prctl && arguments[0] == noted)
            take(static_cast<note>(arguments[1]), arguments + 2);
        else if (counting_ && !folded_)
            add(name_of(number));
    }

    bool complete() const { return complete_; }
    const cost& total() const { return total_; }

private:
    void add(const std::string& name) { total_.calls += (total_.calls.empty() ? "" : " ") + name; }

    void take(note what, const uint64_t* values)
    {
        switch (what) {
        case note::begin:
            counting_ = true;
            return;
        case note::end:
            total_.taken = values[0];
            total_.given_back = values[1];
            counting_ = false;
            complete_ = true;
            return;
        case note::folded:
            if (counting_) // both processes have the same program, and its texts in the same place
                add(reinterpret_cast<const char*>(values[0]));
            folded_ = true;
            return;
        case note::unfolded:
            folded_ = false;
            return;
        }
    }

    cost total_;
    bool counting_ = false;
    bool folded_ = false;
    bool complete_ = false;
};

// A heap with room to spare asks the kernel for none during the operation, and gives none back.
void make_room_on_heap()
{
    constexpr int much = 1 << 24;
    mallopt(M_TRIM_THRESHOLD, much);
    mallopt(M_TOP_PAD, much);
    free(malloc(much / 1024));
}

[[noreturn]] void run_traced(const std::function<void()>& prepare, const std::function<void()>& operation)
{
    prepare();
    make_room_on_heap();
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    raise(SIGSTOP);
    begin();
    operation();
    end();
    _exit(EXIT_SUCCESS);
}

int status_of(pid_t process)
{
    int status;
    if (waitpid(process, &status, 0) != process)
        throw std::runtime_error("the traced process is lost");
    return status;
}

void go_on(pid_t process, int signal)
{
    if (ptrace(PTRACE_SYSCALL, process, nullptr, static_cast<long>(signal)) != 0)
        throw std::runtime_error("this machine refuses tracing");
}

void note_system_call(pid_t process, ledger& ledger)
{
    __ptrace_syscall_info info = {};
    if (ptrace(PTRACE_GET_SYSCALL_INFO, process, sizeof info, &info) > 0 && info.op == PTRACE_SYSCALL_INFO_ENTRY)
        ledger.enter(info.entry.nr, reinterpret_cast<const uint64_t*>(info.entry.args));
}

constexpr int at_system_call = SIGTRAP | 0x80;

// Follows the process from its first stop until it ends.
cost trace(pid_t process)
{
    status_of(process);
    ptrace(PTRACE_SETOPTIONS, process, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    ledger ledger;
    go_on(process, 0);
    for (int status = status_of(process); WIFSTOPPED(status); status = status_of(process)) {
        const int signal = WSTOPSIG(status);
        if (signal == at_system_call)
            note_system_call(process, ledger);
        go_on(process, signal == at_system_call ? 0 : signal);
    }
    if (!ledger.complete())
        throw std::runtime_error("the operation did not return");
    return ledger.total();
}

} // namespace

std::ostream& operator<<(std::ostream& out, const cost& cost)
{
    return out << cost.calls << "; " << cost.taken << " blocks taken, " << cost.given_back << " given back";
}

cost cost_of(const std::function<void()>& prepare, const std::function<void()>& operation)
{
    const pid_t process = fork();
    if (process < 0)
        throw std::runtime_error("cannot start a process");
    if (process == 0)
        run_traced(prepare, operation);
    return trace(process);
}

} // namespace counts
