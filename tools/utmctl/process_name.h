#pragma once

#include <string>

// As the process calls itself; empty when it has ended.
std::string own_name_of_process(int process);

// "process 4711 (name)", as far as its name is known.
std::string name_of_process(int process);

enum class process_state {
    ended,
    stopped,
    alive
};
process_state state_of_process(int process);
