#include "sim/config_service.h"

namespace sim {

namespace {

struct app_state {
    struct profile {
        unique_list<mac_address> devices;
        static void members(auto& self, auto&& each) { each("devices", self.devices); }
    };

    id_table<profile> profiles;
    static void members(auto& self, auto&& each) { each("profiles", self.profiles); }
};

// The application daemon.
class app_service : public config_service<app_service, utm_app_config_event> {
public:
    static const operation* find_own(uint32_t) { return nullptr; }
    static void profile_deleted(const app_state::profile&) {}

    app_state state_;
};

} // namespace

std::unique_ptr<service> make_app()
{
    return std::make_unique<app_service>();
}

} // namespace sim
