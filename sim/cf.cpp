#include "sim/config_service.h"

namespace sim {

namespace {

struct cf_state {
    struct profile {
        unique_list<mac_address> devices;
        static void members(auto& self, auto&& each) { each("devices", self.devices); }
    };

    id_table<profile> profiles;
    static void members(auto& self, auto&& each) { each("profiles", self.profiles); }
};

// The content-filter daemon.
class cf_service : public config_service<cf_service, utm_cf_config_event> {
public:
    static const operation* find_own(uint32_t) { return nullptr; }
    static void profile_deleted(const cf_state::profile&) {}

    cf_state state_;
};

} // namespace

std::unique_ptr<service> make_cf()
{
    return std::make_unique<cf_service>();
}

} // namespace sim
