#include "sim/kernel_switches.h"

#include "kqutm/cf.h"

#include <fstream>

namespace sim {

namespace {

std::optional<std::string> read_line(const char* path)
{
    std::ifstream file(path);
    if (!file)
        return {};
    std::string line;
    std::getline(file, line);
    return line.substr(0, line.find('\0'));
}

void write_line(const char* path, const std::optional<std::string>& line)
{
    if (line)
        std::ofstream(path, std::ios::trunc) << *line << '\n';
}

} // namespace

kernel_switches read_kernel_switches()
{
    return {.enable = read_line(UTM_CF_KERNEL_ENABLE),
            .hdf_enable = read_line(UTM_CF_KERNEL_HDF_ENABLE),
            .redirect_url = read_line(UTM_CF_KERNEL_REDIRECT_URL)};
}

void write_kernel_switches(const kernel_switches& switches)
{
    write_line(UTM_CF_KERNEL_ENABLE, switches.enable);
    write_line(UTM_CF_KERNEL_HDF_ENABLE, switches.hdf_enable);
    write_line(UTM_CF_KERNEL_REDIRECT_URL, switches.redirect_url);
}

} // namespace sim
