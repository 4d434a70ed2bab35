#include "sim/statistics.h"

#include "sim/files.h"

#include <exception>
#include <fstream>

namespace sim {

namespace {

struct statistics {
    id_table<app_usage> profiles;
    static void members(auto& self, auto&& each) { each("profiles", self.profiles); }
};

} // namespace

config_status export_statistics(const app_state& state, const std::string& path)
{
    statistics all;
    for (const auto& [id, profile] : state.profiles.entries())
        *all.profiles.create(id) = profile.usage;
    return write_anew(path, pretty(to_json(all))) ? done : file_inaccessible;
}

config_status import_statistics(app_state& state, const std::string& path)
{
    std::ifstream file(path);
    if (!file)
        return file_inaccessible;
    statistics all;
    try {
        from_json(all, json::parse(file), path);
    } catch (const std::exception&) {
        return file_unreadable;
    }
    for (const auto& [id, usage] : all.profiles.entries()) {
        if (app_profile* profile = state.profiles.find(id))
            profile->usage = usage;
    }
    return done;
}

} // namespace sim
