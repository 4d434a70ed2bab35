#include "sim/daemon.h"

#include "sim/connection.h"
#include "sim/control.h"

#include <csignal>
#include <fstream>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace sim {

namespace {

class daemon_process {
public:
    daemon_process(const daemon_kind& kind, const daemon_setup& setup, const trace_file& trace)
        : kind_(kind), work_(kind.make_service()), faults_(setup.faults), parts_{kind, *work_, lock_, faults_, trace}
    {
        if (!setup.state.is_null())
            work_->load(setup.state, kind.name);
    }

    [[noreturn]] void run(const std::function<void()>& ready)
    {
        // Blocked in every thread, so that it waits for the one that serves it.
        sigset_t hang_up = {};
        sigaddset(&hang_up, SIGHUP);
        sigprocmask(SIG_BLOCK, &hang_up, nullptr);
        work_->start();
        if (kind_.pid_file != nullptr)
            std::ofstream(kind_.pid_file) << getpid() << '\n';
        const int listener = faults_.has(fault_kind::absent) ? -1 : kind_.listen(kind_);
        const int control = listen_for_control(kind_.name);
        ready();
        std::thread([this, control] { serve_control(control); }).detach();
        std::thread([this, hang_up] { serve_hang_up(hang_up); }).detach();
        if (listener >= 0 && !faults_.has(fault_kind::deaf))
            serve(listener);
        for (;;)
            pause();
    }

private:
    [[noreturn]] void serve(int listener)
    {
        for (;;) {
            const int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
            if (connection < 0)
                continue;
            std::thread([this, connection] { serve_connection(connection, parts_); }).detach();
        }
    }

    [[noreturn]] void serve_control(int listener)
    {
        for (;;)
            answer_control(listener, [this](const json& request) { return control(request); });
    }

    [[noreturn]] void serve_hang_up(const sigset_t& hang_up)
    {
        for (;;) {
            int signal = 0;
            sigwait(&hang_up, &signal);
            std::lock_guard lock(lock_);
            work_->hang_up();
        }
    }

    json control(const json& request)
    {
        const std::string what = request.at("do");
        if (what == "state") {
            std::lock_guard lock(lock_);
            return work_->state();
        }
        if (what == "fault")
            add_fault(fault_from(request.at("fault")));
        if (what == "clear")
            faults_.clear();
        return faults_.texts();
    }

    void add_fault(const fault& added)
    {
        if (holds_from_start(added.kind))
            throw input_error("fault \"" + to_text(added) + "\" can only be there from the start");
        faults_.add(added);
    }

    const daemon_kind& kind_;
    std::unique_ptr<service> work_;
    std::mutex lock_;
    fault_list faults_;
    daemon_parts parts_;
};

} // namespace

void run_daemon(const daemon_kind& kind, const daemon_setup& setup, const trace_file& trace,
                const std::function<void()>& ready)
{
    prctl(PR_SET_NAME, (std::string("utm-") + kind.name).c_str());
    daemon_process(kind, setup, trace).run(ready);
}

} // namespace sim
