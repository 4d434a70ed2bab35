#include "kqutm/daemon.h"
#include "sim/profile_table.h"
#include "sim/service.h"

namespace sim {

namespace {

// The application daemon.
class app_service : public service {
public:
    std::vector<record> answer(const record& request) override
    {
        const auto event = from_record<utm_app_config_event>(request);
        return {config_reply(profiles_.apply(event.code, event.body.profile.id, event.body.profile.mac))};
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

std::unique_ptr<service> make_app()
{
    return std::make_unique<app_service>();
}

} // namespace sim
