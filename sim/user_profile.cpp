#include "kqutm/daemon.h"
#include "sim/profile_table.h"
#include "sim/service.h"

namespace sim {

namespace {

// The user-profile daemon.
class user_profile_service : public service {
public:
    std::vector<record> answer(const record& request) override
    {
        const auto event = from_record<utm_user_profile_config_event>(request);
        return {config_reply(profiles_.apply(event.code, event.id, event.mac))};
    }

    json state() const override { return {{"profiles", profiles_.state()}}; }

    void load(const json& state, const std::string& where) override
    {
        json_object object(state, where);
        if (const json* profiles = object.find("profiles"))
            profiles_.load(*profiles, object.where("profiles"));
        object.finish();
    }

private:
    profile_table profiles_;
};

} // namespace

std::unique_ptr<service> make_user_profile()
{
    return std::make_unique<user_profile_service>();
}

} // namespace sim
