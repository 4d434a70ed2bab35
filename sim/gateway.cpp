#include "sim/gateway.h"

#include "sim/control.h"
#include "sim/failure.h"
#include "sim/process.h"
#include "sim/supervisor.h"

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace sim {

namespace {

int trace_in_memory()
{
    int fd = memfd_create("trace", MFD_CLOEXEC);
    if (fd < 0 || fcntl(fd, F_SETFL, O_APPEND) != 0)
        fail("cannot make a trace");
    return fd;
}

// The supervisor lives in a process group of its own, out of the keyboard's reach, and tidies up when this process
// dies.
pid_t start_supervisor(const scenario& start, const trace_file& trace)
{
    return start_until_ready("the gateway", {trace.fd()}, [&](const std::function<void()>& ready) {
        setpgid(0, 0);
        signal(SIGTERM, SIG_DFL);
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        return supervise(start, trace, ready);
    });
}

} // namespace

gateway::gateway(const gateway_options& options)
{
    if (is_controlled(supervisor_name))
        throw std::runtime_error("a gateway runs here already");
    owns_trace_ = options.trace < 0;
    trace_ = owns_trace_ ? trace_in_memory() : options.trace;
    supervisor_ = start_supervisor(options.start, trace_file(trace_, options.trace_bytes));
}

gateway::~gateway()
{
    kill(supervisor_, SIGTERM);
    waitpid(supervisor_, nullptr, 0);
    if (owns_trace_)
        close(trace_);
}

json gateway::state(const std::string& daemon) const
{
    return ask(daemon_named(daemon).name, {{"do", "state"}});
}

std::vector<json> gateway::trace() const
{
    return read_trace(trace_);
}

void gateway::fault(const std::string& daemon, const std::string& fault) const
{
    ask(daemon_named(daemon).name, {{"do", "fault"}, {"fault", fault}});
}

void gateway::clear_faults(const std::string& daemon) const
{
    ask(daemon_named(daemon).name, {{"do", "clear"}});
}

void gateway::restart(const std::string& daemon) const
{
    ask(supervisor_name, {{"do", "restart"}, {"daemon", daemon}});
}

void gateway::stop(const std::string& daemon) const
{
    ask(supervisor_name, {{"do", "stop"}, {"daemon", daemon}});
}

} // namespace sim
