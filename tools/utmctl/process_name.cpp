#include "tools/utmctl/process_name.h"

#include "tools/utmctl/outcome.h"

#include <fstream>

namespace {

std::string folder_of(int process)
{
    return "/proc/" + std::to_string(process);
}

} // namespace

std::string own_name_of_process(int process)
{
    std::string name;
    std::getline(std::ifstream(folder_of(process) + "/comm"), name);
    return printable(name);
}

std::string name_of_process(int process)
{
    const std::string name = own_name_of_process(process);
    return "process " + std::to_string(process) + " (" + (name.empty() ? "of unknown name" : name) + ")";
}

process_state state_of_process(int process)
{
    std::ifstream status(folder_of(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (!line.starts_with("State:\t"))
            continue;
        switch (line[7]) {
        case 'T':
        case 't':
            return process_state::stopped;
        case 'Z':
        case 'X':
            return process_state::ended;
        default:
            return process_state::alive;
        }
    }
    return process_state::ended;
}
