#pragma once

#include "sim/strict_json.h"

#include <functional>
#include <string>

// How the parts of a gateway talk: one JSON value each way over a socket in /run/utm-gateway.
namespace sim {

// The supervisor's place; the others are the daemons' names.
constexpr char supervisor_name[] = "gateway";

std::string control_path(const std::string& name);
int listen_for_control(const std::string& name);

// Takes one connection and answers its request. What handle throws becomes the asker's error.
void answer_control(int listener, const std::function<json(const json&)>& handle);

// Is anyone there?
bool is_controlled(const std::string& name);

// Fails with the error that the other side answers, or where it does not.
json ask(const std::string& name, const json& request);

} // namespace sim
