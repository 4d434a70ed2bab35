#include "sim/supervisor.h"

#include "sim/control.h"
#include "sim/failure.h"
#include "sim/process.h"

#include <csignal>
#include <filesystem>
#include <iterator>
#include <map>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

namespace sim {

namespace {

sigset_t handled_signals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGCHLD);
    return signals;
}

pid_t start_daemon(const daemon_kind& kind, const daemon_setup& setup, const trace_file& trace)
{
    return start_until_ready(kind.name, {trace.fd()}, [&](const std::function<void()>& ready) -> int {
        const sigset_t signals = handled_signals();
        sigprocmask(SIG_UNBLOCK, &signals, nullptr);
        run_daemon(kind, setup, trace, ready);
    });
}

class supervisor {
public:
    explicit supervisor(const trace_file& trace) : trace_(trace) {}

    void start_all(const scenario& scenario)
    {
        for (const daemon_kind& kind : daemon_kinds()) {
            auto setup = scenario.daemons.find(kind.name);
            start(kind, setup == scenario.daemons.end() ? daemon_setup{} : setup->second);
        }
    }

    ~supervisor()
    {
        for (const daemon_kind& kind : daemon_kinds())
            stop(kind);
        const std::filesystem::path own = control_path(supervisor_name);
        unlink(own.c_str());
        rmdir(own.parent_path().c_str());
    }

    supervisor(const supervisor&) = delete;
    supervisor& operator=(const supervisor&) = delete;

    json control(const json& request)
    {
        const daemon_kind& kind = daemon_named(request.at("daemon"));
        stop(kind);
        if (request.at("do") == "restart")
            start(kind, {});
        return nullptr;
    }

    // Those that ended by themselves.
    void collect()
    {
        pid_t ended = 0;
        while ((ended = waitpid(-1, nullptr, WNOHANG)) > 0)
            std::erase_if(running_, [ended](const auto& entry) { return entry.second == ended; });
    }

private:
    void start(const daemon_kind& kind, const daemon_setup& setup)
    {
        running_[kind.name] = start_daemon(kind, setup, trace_);
    }

    // Leaves neither socket nor pid file behind, unlike a daemon that crashed.
    void stop(const daemon_kind& kind)
    {
        if (auto found = running_.find(kind.name); found != running_.end()) {
            kill(found->second, SIGKILL);
            waitpid(found->second, nullptr, 0);
            running_.erase(found);
        }
        unlink(kind.path);
        if (kind.pid_file != nullptr)
            unlink(kind.pid_file);
        unlink(control_path(kind.name).c_str());
    }

    const trace_file& trace_;
    std::map<std::string, pid_t> running_;
};

} // namespace

int supervise(const scenario& scenario, const trace_file& trace, const std::function<void()>& ready)
{
    const sigset_t handled = handled_signals();
    sigprocmask(SIG_BLOCK, &handled, nullptr);
    const int signals = signalfd(-1, &handled, SFD_CLOEXEC);
    const int requests = listen_for_control(supervisor_name);
    supervisor daemons(trace);
    daemons.start_all(scenario);
    ready();
    for (;;) {
        pollfd sources[] = {{.fd = signals, .events = POLLIN}, {.fd = requests, .events = POLLIN}};
        poll(sources, std::size(sources), -1);
        signalfd_siginfo signal = {};
        if (sources[0].revents != 0 && read(signals, &signal, sizeof signal) == sizeof signal) {
            if (signal.ssi_signo == SIGTERM)
                break;
            daemons.collect();
        }
        if (sources[1].revents != 0)
            answer_control(requests, [&](const json& request) { return daemons.control(request); });
    }
    return 0;
}

} // namespace sim
