#include "tests/failing_calls/steps.h"

#include "kqutm/daemon.h"
#include "kqutm/registry.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <sys/ipc.h>

namespace failing_calls {

namespace {

using position = std::vector<std::string>::const_iterator;

bool is_call_of(const std::string& call, const std::string& functions)
{
    std::istringstream all(functions);
    return std::any_of(std::istream_iterator<std::string>(all), {},
                       [&](const std::string& function) { return call.starts_with(function + "("); });
}

bool mentions(const std::string& call, const char* path)
{
    return call.find(path) != std::string::npos;
}

// The calls of an operation, of which each is a part of something greater.
class sequence {
public:
    explicit sequence(const std::vector<std::string>& calls) : calls_(calls) {}

    step step_at(position at) const
    {
        if (is_call_of(*at, "ftok semget semctl semop shmget shmat"))
            return step_of_shared_memory(at);
        if (is_call_of(*at, "socket setsockopt connect send recv select read calloc") ||
            (is_call_of(*at, "write") && is_call_of(*opened_before(at), "connect")))
            return step_of_exchange(at);
        return {step_of_files(at), 1};
    }

private:
    position before(position at, const char* functions) const
    {
        const auto found = std::find_if(std::reverse_iterator(at), calls_.rend(),
                                        [&](const std::string& call) { return is_call_of(call, functions); });
        return found == calls_.rend() ? calls_.end() : std::prev(found.base());
    }
    position after(position at, const char* functions) const
    {
        return std::find_if(at, calls_.end(), [&](const std::string& call) { return is_call_of(call, functions); });
    }
    bool is_followed_by(position at, const char* functions) const
    {
        return std::next(at) != calls_.end() && is_call_of(*std::next(at), functions);
    }

    // What was opened last, which is what is written to.
    position opened_before(position at) const { return before(at, "open connect"); }

    // Where the registry, or the common segment, began to be locked.
    bool begins_session(position at) const { return is_call_of(*at, "ftok") && is_followed_by(at, "semget"); }

    // The registry is cleared right after its marker has been created.
    bool is_of_clearing(position session) const
    {
        const position last = before(session, "open ftok");
        return last != calls_.end() && mentions(*last, UTM_ID_MARKER);
    }

    const char* part_of_session(position at) const
    {
        if (is_call_of(*at, "semget shmget") && is_followed_by(at, "semget shmget"))
            return "vain"; // there is none yet, and it is created
        if (is_call_of(*at, "ftok"))
            return begins_session(at) ? "lock" : "key";
        if (is_call_of(*at, "semop"))
            return mentions(*at, ", -1,") ? "lock" : "unlock";
        return is_call_of(*at, "semget semctl") ? "lock" : "attach";
    }

    step step_of_shared_memory(position at) const
    {
        int number = 0;
        bool clearing = false;
        for (position session = calls_.begin(); session <= at; ++session) {
            if (!begins_session(session))
                continue;
            clearing = is_of_clearing(session);
            number += clearing ? 0 : 1;
        }
        const std::string part = part_of_session(at);
        const bool creates =
            is_call_of(*at, "semget shmget") && mentions(*at, std::to_string(IPC_CREAT | IPC_EXCL | 0666).c_str());
        return {clearing ? "clearing_" + part : part, number, creates};
    }

    step step_of_exchange(position at) const
    {
        const position connecting =
            is_call_of(*at, "socket setsockopt") ? after(at, "connect bind") : before(at + 1, "connect");
        const std::string daemon = daemon_of(*connecting);
        const auto number = std::count_if(calls_.begin(), connecting + 1, [&](const std::string& call) {
            return is_call_of(call, "connect") && daemon_of(call) == daemon;
        });
        return {is_call_of(*at, "recv") ? "answer" : daemon, static_cast<int>(number)};
    }

    static std::string daemon_of(const std::string& connecting)
    {
        if (mentions(connecting, UTM_CF_CONFIG_SOCKET))
            return "cf";
        if (mentions(connecting, UTM_APP_CONFIG_SOCKET))
            return "app";
        return mentions(connecting, UTM_USER_PROFILE_SOCKET) ? "user_profile" : "engine";
    }

    std::string step_of_files(position at) const
    {
        static constexpr struct {
            const char* path;
            const char* step;
        } files[] = {{"/tmp/utm_log/", "log"},
                     {UTM_CF_COMMAND_FILE, "command"},
                     {UTM_CF_PID_FILE, "command"},
                     {UTM_CF_MARKER, "filter_marker"}};
        for (const auto& [path, step] : files) {
            if (mentions(naming_file_of(at), path))
                return step;
        }
        return is_call_of(*at, "write") ? "page_text" : at->substr(0, at->find('('));
    }

    // The call that tells which file a call is about; memory is about the file that has just been opened.
    const std::string& naming_file_of(position at) const
    {
        if (is_call_of(*at, "write"))
            return *opened_before(at);
        return is_call_of(*at, "malloc") && at != calls_.begin() ? *std::prev(at) : *at;
    }

    const std::vector<std::string>& calls_;
};

} // namespace

std::vector<step> failing_steps(const outcome& undisturbed, const fault& fault)
{
    const sequence all(undisturbed.calls);
    std::vector<step> hit;
    int number = 0;
    for (position at = undisturbed.calls.begin(); at != undisturbed.calls.end(); ++at) {
        if (!is_call_of(*at, fault.function))
            continue;
        number++;
        if (number == fault.nth || (number > fault.nth && fault.lasting))
            hit.push_back(all.step_at(at));
    }
    return hit;
}

std::vector<step> connections(const outcome& outcome)
{
    return failing_steps(outcome, {"connect", 0, 1, true});
}

bool names(const char* list, const step& step)
{
    std::istringstream all(list);
    return std::any_of(std::istream_iterator<std::string>(all), {}, [&](const std::string& name) {
        return name == step.name || name == step.name + ":" + std::to_string(step.number);
    });
}

} // namespace failing_calls
