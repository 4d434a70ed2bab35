#pragma once

#include "sim/scenario.h"

#include <string>
#include <sys/types.h>
#include <vector>

namespace sim {

struct gateway_options {
    scenario start;
    int trace = -1;           // a file open for appending, which stays the caller's; -1: one in memory
    bool trace_bytes = false; // whole records, too
};

// The daemons of a gateway, each a process of its own under a supervisor. They end with this object, or with the
// process that made it. Make it before any thread.
class gateway {
public:
    // All daemons are ready when it returns.
    explicit gateway(const gateway_options& options = {});
    gateway(const gateway&) = delete;
    gateway& operator=(const gateway&) = delete;
    ~gateway();

    json state(const std::string& daemon) const;
    std::vector<json> trace() const;

    void fault(const std::string& daemon, const std::string& fault) const; // as in "1:refuse=5:2"
    void clear_faults(const std::string& daemon) const;
    void restart(const std::string& daemon) const; // anew: without state and faults
    void stop(const std::string& daemon) const;    // leaves no socket

private:
    int trace_;
    bool owns_trace_;
    pid_t supervisor_;
};

} // namespace sim
