#pragma once

#include "sim/config_service.h"
#include "sim/files.h"

namespace sim {

// What the daemons with policies share. Their state has policies, an id_table, and each of its profiles a policy: the
// one that is bound to it, or 0. A Service also has dump_heading().
template <class Service, class Event, class State> class policy_service : public config_service<Service, Event, State> {
public:
    config_status create_policy(const Event& event, config_answer&)
    {
        return state_.policies.create(static_cast<int32_t>(event.body.policy.id)) != nullptr ? done : policy_exists;
    }

    config_status bind_policy(const Event& event, config_answer&)
    {
        const auto id = static_cast<int32_t>(event.body.binding.policy);
        return this->at_profile(static_cast<int32_t>(event.body.binding.profile), [&](auto& profile) {
            return at_policy(id, [&](const auto&) {
                profile.policy = id;
                return done;
            });
        });
    }

    template <auto number> config_status set_number(const Event& event, config_answer&)
    {
        state_.*number = event.body.value;
        return done;
    }

    config_status dump(const Event& event, config_answer&)
    {
        const std::string text = std::string(Service::dump_heading) + "\n" + pretty(this->self().state());
        return append_to(text_of(event.body.path), text) ? done : file_inaccessible;
    }

    // A policy goes with the profile that it is bound to, for other profiles too.
    template <class Profile> void profile_deleted(const Profile& profile)
    {
        const int32_t policy = profile.policy;
        if (!state_.policies.erase(policy))
            return;
        for (auto& [id, other] : state_.profiles.entries()) {
            if (other.policy == policy)
                other.policy = 0;
        }
    }

protected:
    // What act makes of the policy, where there is one.
    template <class Act> config_status at_policy(int32_t id, const Act& act)
    {
        auto* policy = state_.policies.find(id);
        return policy != nullptr ? act(*policy) : policy_unknown;
    }

    using config_service<Service, Event, State>::state_;
};

} // namespace sim
