#include "tools/utmctl/process_name.h"

#include "tools/utmctl/outcome.h"

#include <fstream>

std::string name_of_process(int process)
{
    std::string name;
    std::getline(std::ifstream("/proc/" + std::to_string(process) + "/comm"), name);
    return "process " + std::to_string(process) + " (" + (name.empty() ? "of unknown name" : printable(name)) + ")";
}
