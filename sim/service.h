#pragma once

#include "sim/operations.h"
#include "sim/strict_json.h"

#include <memory>
#include <vector>

namespace sim {

// What one daemon is for. Calls come one at a time.
class service {
public:
    virtual ~service() = default;

    // In the daemon's own process, before it listens: pid files, signals and the like.
    virtual void start() {}

    // On SIGHUP.
    virtual void hang_up() {}

    // One reply, or a stream of them, to a request that arrived whole.
    virtual std::vector<record> answer(const record& request) = 0;

    // What the daemon holds, and the same read back from a scenario; where names the place in errors.
    virtual json state() const = 0;
    virtual void load(const json& state, const std::string& where) = 0;
};

// One file each.
std::unique_ptr<service> make_cf();
std::unique_ptr<service> make_app();
std::unique_ptr<service> make_user_profile();
std::unique_ptr<service> make_ips();
std::unique_ptr<service> make_devid();
std::unique_ptr<service> make_av();
std::unique_ptr<service> make_ir();

} // namespace sim
