#pragma once

#include "sim/gateway.h"

#include <string>

// A gateway of which one daemon starts with a state of the test's own.
inline sim::gateway gateway_with(const std::string& daemon, const sim::json& state)
{
    return sim::gateway({.start = sim::scenario_from({{daemon, {{"state", state}}}}, "test")});
}
