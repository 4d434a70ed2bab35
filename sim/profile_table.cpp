#include "sim/profile_table.h"

#include "kqutm/daemon.h"

#include <algorithm>

namespace sim {

namespace {

constexpr uint8_t done = UTM_RESPONSE_OK;

} // namespace

uint8_t profile_table::create(int32_t id)
{
    return profiles_.try_emplace(id).second ? done : profile_exists;
}

uint8_t profile_table::add_device(int32_t id, const mac_address& mac)
{
    auto profile = profiles_.find(id);
    if (profile == profiles_.end())
        return profile_unknown;
    auto& devices = profile->second;
    if (std::ranges::find(devices, mac) != devices.end())
        return device_exists;
    devices.push_back(mac);
    return done;
}

uint8_t profile_table::delete_device(int32_t id, const mac_address& mac)
{
    auto profile = profiles_.find(id);
    if (profile == profiles_.end())
        return profile_unknown;
    return std::erase(profile->second, mac) == 1 ? done : device_unknown;
}

uint8_t profile_table::apply(uint8_t code, int32_t id, const uint8_t (&mac)[6])
{
    switch (code) {
    case UTM_PROFILE_CREATE:
        return create(id);
    case UTM_PROFILE_DELETE:
        return profiles_.erase(id) == 1 ? done : profile_unknown;
    case UTM_PROFILE_ADD_DEVICE:
        return add_device(id, std::to_array(mac));
    case UTM_PROFILE_DELETE_DEVICE:
        return delete_device(id, std::to_array(mac));
    default:
        return done;
    }
}

json profile_table::state() const
{
    json profiles = json::array();
    for (const auto& [id, devices] : profiles_) {
        json texts = json::array();
        for (const mac_address& mac : devices)
            texts.push_back(to_text(mac));
        profiles.push_back({{"id", id}, {"devices", texts}});
    }
    return profiles;
}

void profile_table::load(const json& profiles, const std::string& where)
{
    for (const json& entry : array_at(profiles, where)) {
        json_object profile(entry, where);
        int32_t id = number_at(profile.at("id"), profile.where("id"));
        if (create(id) != done)
            throw input_error(profile.where("id") + ": " + std::to_string(id) + " is there twice");
        if (const json* devices = profile.find("devices")) {
            const std::string place = profile.where("devices");
            for (const json& text : array_at(*devices, place)) {
                if (add_device(id, mac_from(text_at(text, place), place)) != done)
                    throw input_error(place + ": " + text.get<std::string>() + " is there twice");
            }
        }
        profile.finish();
    }
}

record config_reply(uint8_t status)
{
    return to_record(utm_event_response{.status = status});
}

} // namespace sim
