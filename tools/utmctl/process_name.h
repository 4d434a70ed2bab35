#pragma once

#include <string>

// "process 4711 (name)", as far as its name is known.
std::string name_of_process(int process);
