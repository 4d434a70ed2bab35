#include "sim/config_service.h"

namespace sim {

namespace {

struct user_profile_state {
    struct profile {
        unique_list<mac_address> devices;
        static void members(auto& self, auto&& each) { each("devices", self.devices); }
    };

    id_table<profile> profiles;
    static void members(auto& self, auto&& each) { each("profiles", self.profiles); }
};

// The user-profile daemon: it has no codes but those of profiles.
class user_profile_service
    : public config_service<user_profile_service, utm_user_profile_config_event, user_profile_state> {
public:
    static const code_handler* find_own(uint32_t) { return nullptr; }
    static void profile_deleted(const user_profile_state::profile&) {}
};

} // namespace

std::unique_ptr<service> make_user_profile()
{
    return std::make_unique<user_profile_service>();
}

} // namespace sim
