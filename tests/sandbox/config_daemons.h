#pragma once

#include "sim/scripted_daemon.h"
#include "tests/sandbox/bytes.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

// The three config daemons, as scripts.

inline constexpr char cf_path[] = "/dev/utm_cf_config_socket";
inline constexpr char app_path[] = "/dev/utm_app_config_socket";
inline constexpr char user_profile_path[] = "/dev/utm_user_profile_socket";

using records = std::vector<sim::bytes>;

inline constexpr size_t reply_size = 832;

// A reply with this status. All else is rubbish, as nothing else may be read from it.
inline sim::bytes reply(uint8_t status)
{
    sim::bytes record(reply_size, 0xa5);
    record[0] = status;
    return record;
}

// Takes a request and sends these records.
inline sim::script answer(const records& replies)
{
    sim::script script = {sim::receive()};
    for (const sim::bytes& record : replies)
        script.push_back(sim::send(record));
    return script;
}

inline sim::script answer(uint8_t status)
{
    return answer(records{reply(status)});
}

// Takes a request, looks around, and answers.
inline sim::script look_and_answer(const std::function<void()>& look, uint8_t status = 0)
{
    return {sim::receive(), [look](const sim::conversation&) { look(); }, sim::send(reply(status))};
}

constexpr int absent = -1;

// What each daemon answers to every request: a status, or absent.
struct answers {
    int cf = 0;
    int app = 0;
    int user_profile = 0;
};

class config_daemons {
public:
    explicit config_daemons(answers all = {})
    {
        start(cf_path, all.cf);
        start(app_path, all.app);
        start(user_profile_path, all.user_profile);
    }

    // Every request with its daemon, in order.
    std::vector<sim::visit> visits() const { return journal_.visits(); }

    // The paths of the daemons, in the order in which they were told.
    std::vector<std::string> told() const
    {
        std::vector<std::string> paths;
        for (const sim::visit& visit : visits())
            paths.push_back(visit.path);
        return paths;
    }

    // The last request that the daemon at this path got.
    sim::bytes request_of(const std::string& path) const
    {
        sim::bytes found;
        for (const sim::visit& visit : visits()) {
            if (visit.path == path)
                found = visit.request;
        }
        return found;
    }

private:
    void start(const char* path, int status)
    {
        if (status != absent)
            daemons_.push_back(
                std::make_unique<sim::scripted_daemon>(path, answer(static_cast<uint8_t>(status)), &journal_));
    }

    sim::journal journal_;
    std::vector<std::unique_ptr<sim::scripted_daemon>> daemons_;
};
