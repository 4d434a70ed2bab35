#pragma once

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace sim {

// The exit status of run_in_namespaces when the machine refuses the view; one line on standard error tells why.
constexpr int view_refused = 125;

// Runs body in a child that does not outlive this process, and ends it by leave: exit or _exit. What body throws is
// printed, and the child's status then view_refused.
pid_t start_process(const std::function<int()>& body, void (*leave)(int));

// Runs body in a child that keeps no descriptors of this process but the standard ones and those needed. Returns once
// body has called ready; fails where it ends before.
pid_t start_until_ready(const std::string& name, std::vector<int> needed,
                        const std::function<int(const std::function<void()>& ready)>& body);

// Waits for the child and collects every orphan that ends before it. Returns its exit status as a shell would: 128 and
// the signal's number for a process that was killed.
int wait_for_process(pid_t child);

// While it lives, the signals of the keyboard reach the command inside alone; the command's status then tells.
class ignored_keyboard {
public:
    ignored_keyboard();
    ignored_keyboard(const ignored_keyboard&) = delete;
    ignored_keyboard& operator=(const ignored_keyboard&) = delete;
    ~ignored_keyboard() { restore(); }

    void restore() const;

private:
    using handler = void (*)(int);
    handler interrupt_;
    handler quit_;
};

// Puts the process group in the foreground of the terminal, if there is one.
void give_terminal(pid_t group);

// The terminal's foreground goes back to this process at the end, whatever took it meanwhile.
class kept_terminal {
public:
    kept_terminal();
    kept_terminal(const kept_terminal&) = delete;
    kept_terminal& operator=(const kept_terminal&) = delete;
    ~kept_terminal();

private:
    bool is_ours_;
};

} // namespace sim
