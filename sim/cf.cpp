#include "sim/cf_state.h"
#include "sim/policy_service.h"

namespace sim {

namespace {

using cf_event = utm_cf_config_event;

// What a flush empties; the simulator's own invention.
enum global_flush : int32_t {
    flush_everything = 0,
    flush_trusted_urls = 1,
    flush_forbidden_urls = 2,
    flush_browsed_domains = 3
};

enum policy_flush : int32_t {
    flush_whole_policy = 0,
    flush_trusted_domains = 1,
    flush_forbidden_domains = 2,
    flush_keywords = 3,
    flush_block = 4
};

// Removes browsed domains from every profile.
void forget_browsed_domains(cf_state& state)
{
    for (auto& [id, profile] : state.profiles.entries())
        profile.browsed_domains.clear();
}

// All but the profiles, which have codes of their own.
void forget_everything(cf_state& state)
{
    forget_browsed_domains(state);
    for (auto& [id, profile] : state.profiles.entries())
        profile.policy = 0;
    state.policies.clear();
    state.trusted_urls.clear();
    state.forbidden_urls.clear();
}

config_status flush(cf_state& state, int32_t type)
{
    switch (type) {
    case flush_everything:
        forget_everything(state);
        return done;
    case flush_trusted_urls:
        state.trusted_urls.clear();
        return done;
    case flush_forbidden_urls:
        state.forbidden_urls.clear();
        return done;
    case flush_browsed_domains:
        forget_browsed_domains(state);
        return done;
    default:
        return number_refused;
    }
}

config_status flush(cf_policy& policy, int32_t type)
{
    switch (type) {
    case flush_whole_policy:
        policy = {};
        return done;
    case flush_trusted_domains:
        policy.trusted_domains.clear();
        return done;
    case flush_forbidden_domains:
        policy.forbidden_domains.clear();
        return done;
    case flush_keywords:
        policy.keywords.clear();
        return done;
    case flush_block:
        policy.block.reset();
        return done;
    default:
        return number_refused;
    }
}

record entry_of(const browsed_domain& browsed)
{
    utm_event_response entry = {.status = UTM_RESPONSE_MORE};
    browsed.domain.copy(entry.domain, sizeof entry.domain);
    entry.domain_value = browsed.value;
    return to_record(entry);
}

// The content-filter daemon.
class cf_service : public policy_service<cf_service, cf_event, cf_state> {
public:
    static constexpr char dump_heading[] = "====Dump content filter daemon";
    static const code_handler* find_own(uint32_t code);

    void start() override { write_kernel_switches(state_.kernel); }

    void hang_up() override
    {
        const std::optional<int> command = take_number(UTM_CF_COMMAND_FILE);
        if (!command)
            return;
        state_.commands.push_back(*command);
        if (command == UTM_CF_COMMAND_ON || command == UTM_CF_COMMAND_OFF)
            state_.filtering = command == UTM_CF_COMMAND_ON;
    }

    json state() const override
    {
        json state = policy_service::state();
        state["kernel"] = to_json(read_kernel_switches());
        return state;
    }

    template <text_list cf_state::*list> config_status add_url(const cf_event& event, config_answer&)
    {
        return (state_.*list).add(text_of(event.body.url)) ? done : text_exists;
    }

    template <text_list cf_state::*list> config_status delete_url(const cf_event& event, config_answer&)
    {
        return (state_.*list).remove(text_of(event.body.url)) ? done : text_unknown;
    }

    template <text_list cf_policy::*list> config_status add_text(const cf_event& event, config_answer&)
    {
        return at_policy(event.body.policy_text.id, [&](cf_policy& policy) {
            return (policy.*list).add(text_of(event.body.policy_text.text)) ? done : text_exists;
        });
    }

    template <text_list cf_policy::*list> config_status delete_text(const cf_event& event, config_answer&)
    {
        return at_policy(event.body.policy_text.id, [&](cf_policy& policy) {
            return (policy.*list).remove(text_of(event.body.policy_text.text)) ? done : text_unknown;
        });
    }

    config_status set_block(const cf_event& event, config_answer&)
    {
        return at_policy(event.body.policy.id, [&](cf_policy& policy) {
            policy.block = {std::to_array(event.body.policy.block)};
            return done;
        });
    }

    config_status flush_all(const cf_event& event, config_answer&) { return flush(state_, event.body.value); }

    // Policy 0 stands for every policy.
    config_status flush_policy(const cf_event& event, config_answer&)
    {
        const int32_t id = event.body.flush.policy;
        const int32_t type = event.body.flush.type;
        if (id != 0)
            return at_policy(id, [&](cf_policy& policy) { return flush(policy, type); });
        cf_policy untouched;
        config_status status = flush(untouched, type);
        for (auto& [each, policy] : state_.policies.entries())
            status = flush(policy, type);
        return status;
    }

    config_status get_browsed_domains(const cf_event& event, config_answer& answer)
    {
        return at_profile(event.body.profile.id, [&](const cf_profile& profile) {
            for (const browsed_domain& browsed : profile.browsed_domains)
                answer.entries.push_back(entry_of(browsed));
            return done;
        });
    }
};

constexpr cf_service::code_handler handlers[] = {
    {UTM_CF_DUMP, &cf_service::dump},
    {UTM_CF_POLICY_CREATE, &cf_service::create_policy},
    {UTM_CF_POLICY_BLOCK, &cf_service::set_block},
    {UTM_CF_BIND_POLICY, &cf_service::bind_policy},
    {UTM_CF_ADD_TRUSTED_URL, &cf_service::add_url<&cf_state::trusted_urls>},
    {UTM_CF_DELETE_TRUSTED_URL, &cf_service::delete_url<&cf_state::trusted_urls>},
    {UTM_CF_ADD_FORBIDDEN_URL, &cf_service::add_url<&cf_state::forbidden_urls>},
    {UTM_CF_DELETE_FORBIDDEN_URL, &cf_service::delete_url<&cf_state::forbidden_urls>},
    {UTM_CF_ADD_TRUSTED_DOMAIN, &cf_service::add_text<&cf_policy::trusted_domains>},
    {UTM_CF_DELETE_TRUSTED_DOMAIN, &cf_service::delete_text<&cf_policy::trusted_domains>},
    {UTM_CF_ADD_FORBIDDEN_DOMAIN, &cf_service::add_text<&cf_policy::forbidden_domains>},
    {UTM_CF_DELETE_FORBIDDEN_DOMAIN, &cf_service::delete_text<&cf_policy::forbidden_domains>},
    {UTM_CF_ADD_DOMAIN_KEYWORD, &cf_service::add_text<&cf_policy::keywords>},
    {UTM_CF_DELETE_DOMAIN_KEYWORD, &cf_service::delete_text<&cf_policy::keywords>},
    {UTM_CF_WEB_SAFE_BROWSING_ACTIVATE, &cf_service::set_number<&cf_state::web_safe_browsing>},
    {UTM_CF_WEB_CATEGORY_ACTIVATE, &cf_service::set_number<&cf_state::web_category>},
    {UTM_CF_DEBUG, &cf_service::set_number<&cf_state::debug>},
    {UTM_CF_GLOBAL_FLUSH, &cf_service::flush_all},
    {UTM_CF_POLICY_FLUSH, &cf_service::flush_policy},
    {UTM_CF_GET_BROWSED_DOMAINS, &cf_service::get_browsed_domains},
};

const cf_service::code_handler* cf_service::find_own(uint32_t code)
{
    return find_row(handlers, code);
}

} // namespace

std::unique_ptr<service> make_cf()
{
    return std::make_unique<cf_service>();
}

} // namespace sim
