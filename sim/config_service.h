#pragma once

#include "sim/config_status.h"
#include "sim/id_table.h"
#include "sim/table_service.h"
#include "sim/unique_list.h"

#include <cstddef>
#include <cstring>

namespace sim {

using config_answer = answer_of<utm_event_response>;

// The profile of a request with one of the four profile codes.
struct profile_argument {
    int32_t id;
    mac_address mac;
};

template <class Event> profile_argument profile_of(const Event& event)
{
    return {event.body.profile.id, std::to_array(event.body.profile.mac)};
}

inline profile_argument profile_of(const utm_user_profile_config_event& event)
{
    return {event.id, std::to_array(event.mac)};
}

template <class Service, class Event, class State>
using config_table =
    table_service<Service, Event, State, utm_event_response, &utm_event_response::status, code_unknown>;

// What the three config daemons share: the profile codes. A State has profiles, an id_table whose entries have devices.
// A Service has
//   - find_own(code), the row of one of its own codes, or null;
//   - profile_deleted(profile), which tidies up.
template <class Service, class Event, class State> class config_service : public config_table<Service, Event, State> {
public:
    using typename config_table<Service, Event, State>::code_handler;

    config_status create_profile(const Event& event, config_answer&)
    {
        return state_.profiles.create(profile_of(event).id) != nullptr ? done : profile_exists;
    }

    config_status delete_profile(const Event& event, config_answer&)
    {
        const int32_t id = profile_of(event).id;
        return at_profile(id, [&](const auto& profile) {
            self().profile_deleted(profile);
            state_.profiles.erase(id);
            return done;
        });
    }

    config_status add_device(const Event& event, config_answer&)
    {
        const profile_argument named = profile_of(event);
        return at_profile(named.id,
                          [&](auto& profile) { return profile.devices.add(named.mac) ? done : device_exists; });
    }

    config_status delete_device(const Event& event, config_answer&)
    {
        const profile_argument named = profile_of(event);
        return at_profile(named.id,
                          [&](auto& profile) { return profile.devices.remove(named.mac) ? done : device_unknown; });
    }

    static const code_handler* find(uint32_t code)
    {
        static constexpr code_handler profile_handlers[] = {
            {UTM_PROFILE_CREATE, &Service::create_profile},
            {UTM_PROFILE_DELETE, &Service::delete_profile},
            {UTM_PROFILE_ADD_DEVICE, &Service::add_device},
            {UTM_PROFILE_DELETE_DEVICE, &Service::delete_device},
        };
        const code_handler* row = find_row(profile_handlers, code);
        return row != nullptr ? row : Service::find_own(code);
    }

protected:
    using config_table<Service, Event, State>::state_;
    using config_table<Service, Event, State>::self;

    // What act makes of the profile, where there is one.
    template <class Act> config_status at_profile(int32_t id, const Act& act)
    {
        auto* profile = state_.profiles.find(id);
        return profile != nullptr ? act(*profile) : profile_unknown;
    }
};

} // namespace sim
