#pragma once

#include "sim/daemon.h"

#include <map>
#include <string>
#include <vector>

namespace sim {

// How a gateway starts.
struct scenario {
    std::vector<std::string> addresses; // on lo
    std::map<std::string, daemon_setup> daemons;
};

// Fails with the name of the file and of the key that is wrong.
scenario read_scenario(const std::string& path);
scenario scenario_from(const json& value, const std::string& name);

// Adds one more fault, as in "cf:1:refuse=5".
void add_fault(scenario& scenario, const std::string& text);

} // namespace sim
