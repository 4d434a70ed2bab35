#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

// What is wrong with the arguments, in utmctl's own words; nothing when they are good.
std::string parse_with(CLI::App& parser, std::vector<std::string> arguments);
