#pragma once

#include <optional>
#include <string>

namespace sim {

// What the content filter's kernel files hold, as far as a line or a zero byte ends it. None: there is no such file.
struct kernel_switches {
    std::optional<std::string> enable;
    std::optional<std::string> hdf_enable;
    std::optional<std::string> redirect_url;

    static void members(auto& self, auto&& each)
    {
        each("enable", self.enable);
        each("hdf_enable", self.hdf_enable);
        each("redirect_url", self.redirect_url);
    }
};

kernel_switches read_kernel_switches();

// Those alone that hold something.
void write_kernel_switches(const kernel_switches& switches);

} // namespace sim
