#pragma once

#include "sim/mac.h"
#include "sim/record.h"
#include "sim/strict_json.h"

#include <map>
#include <string>
#include <vector>

namespace sim {

// Why a config daemon refuses. The values are the simulator's own invention; 2 stands for a list entry.
constexpr uint8_t profile_exists = 101;
constexpr uint8_t profile_unknown = 102;
constexpr uint8_t device_exists = 103;
constexpr uint8_t device_unknown = 104;

// The user profiles that each config daemon holds for itself.
class profile_table {
public:
    // Carries out one of the four profile codes and returns the status of its answer. Other codes change nothing.
    uint8_t apply(uint8_t code, int32_t id, const uint8_t (&mac)[6]);

    json state() const;
    void load(const json& profiles, const std::string& where);

private:
    uint8_t create(int32_t id);
    uint8_t add_device(int32_t id, const mac_address& mac);
    uint8_t delete_device(int32_t id, const mac_address& mac);

    std::map<int32_t, std::vector<mac_address>> profiles_;
};

// An event response that carries nothing but its status.
record config_reply(uint8_t status);

} // namespace sim
