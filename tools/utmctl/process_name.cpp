#include "tools/utmctl/process_name.h"

#include "tools/utmctl/outcome.h"

#include <fstream>

std::string own_name_of_process(int process)
{
    std::string name;
    std::getline(std::ifstream("/proc/" + std::to_string(process) + "/comm"), name);
    return printable(name);
}

std::string name_of_process(int process)
{
    const std::string name = own_name_of_process(process);
    return "process " + std::to_string(process) + " (" + (name.empty() ? "of unknown name" : name) + ")";
}
