#include "tools/utmctl/doctor/checks.h"

#include "tools/utmctl/lock_view.h"
#include "tools/utmctl/process_name.h"
#include "tools/utmctl/remedy.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>
#include <thread>

// The locks that all processes of the gateway share.
namespace doctor {

namespace {

constexpr unsigned for_everybody = 0666;

constexpr std::chrono::milliseconds between_looks(10);
constexpr int looks = 100; // in a second

// Whether one process keeps the lock for as long as it is watched.
bool is_kept(const lock& one, int process)
{
    for (int look = 0; look < looks; ++look) {
        std::this_thread::sleep_for(between_looks);
        const std::optional<lock_view> seen = look_at(one);
        if (!seen || !seen->taken() || seen->process != process)
            return false;
    }
    return true;
}

std::string waiting_text(const lock_view& seen)
{
    if (seen.waiting == 0)
        return "";
    std::string text = ", and " + std::to_string(seen.waiting) + (seen.waiting == 1 ? " waits" : " wait");
    const char* joint = ": ";
    for (const int process : waiting_for(seen)) {
        text += joint + name_of_process(process);
        joint = ", ";
    }
    return text;
}

finding held(const lock& one, const lock_view& seen, severity how_bad, const char* how, const std::string& remedy)
{
    return {how_bad, name_of_process(seen.process) + " " + how + " " + one.name + waiting_text(seen), remedy};
}

std::optional<finding> check_holder(const lock& one, const lock_view& seen)
{
    switch (state_of_process(seen.process)) {
    case process_state::stopped:
        return held(one, seen, severity::error, "is stopped and holds", continuing(seen.process) + ", or end it");
    case process_state::ended:
        return held(one, seen, severity::error, "has ended without giving back", "restart the gateway");
    case process_state::alive:
        break;
    }
    if (!is_kept(one, seen.process))
        return {};
    return held(one, seen, severity::warning, "keeps", "find out what it does, or end it");
}

std::optional<finding> check_lock(const lock& one)
{
    const std::optional<lock_view> seen = look_at(one);
    if (!seen) {
        if (errno == ENOENT)
            return {};
        return finding{severity::error, std::string(one.name) + " cannot be looked at: " + strerror(errno),
                       "see with 'ipcs -s' who made it"};
    }
    if (seen->for_several())
        return finding{severity::error, std::string(one.name) + " " + several_may_hold(*seen), "restart the gateway"};
    if ((seen->mode & for_everybody) != for_everybody)
        return finding{severity::warning, std::string(one.name) + " is closed to programs of other users",
                       "restart the gateway"};
    return seen->taken() ? check_holder(one, *seen) : std::nullopt;
}

} // namespace

findings check_locks(const examination&)
{
    findings found;
    for (const lock* one : {&registry_lock, &uuid_lock}) {
        if (const auto wrong = check_lock(*one))
            found.push_back(*wrong);
    }
    return found;
}

} // namespace doctor
