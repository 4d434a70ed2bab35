#pragma once

#include "sim/gateway.h"
#include "sim/namespaces.h"

#include <string>
#include <vector>

namespace sim {

// The view of a gateway for the current folder, the home folder and the folders of this program and of the library.
gateway_view view_for(const std::string& library, const scenario& start);

// Inside: sets up the environment, runs the command and returns its exit status; 127 where it is not found, 126 where
// it cannot be run.
int run_command(const std::vector<std::string>& command);

// Inside: the user's shell, with a prompt that shows where it is.
int run_shell();

} // namespace sim
