#include "kqutm/daemon.h"
#include "sim/engine_service.h"
#include "sim/unique_list.h"

#include <map>

namespace sim {

namespace {

using rule_id = wire_text<sizeof utm_ips_message::rule_id>;
using rule_name = wire_text<sizeof utm_ips_message::rule_name>;

struct ips_rule {
    rule_id id;
    rule_name name;

    static void members(auto& self, auto&& each)
    {
        each("id", self.id);
        each("name", self.name);
    }
};

struct ips_state {
    bool on = false;
    bool debug = false;
    wire_text<sizeof utm_ips_message::signature_path> signature;
    std::vector<ips_rule> rules;
    uint32_t limit = 64; // of the two lists together
    unique_list<rule_id> whitelist;
    unique_list<rule_id> blacklist;

    static void members(auto& self, auto&& each)
    {
        each("on", self.on);
        each("debug", self.debug);
        each("signature", self.signature);
        each("rules", self.rules);
        each("limit", self.limit);
        each("whitelist", self.whitelist);
        each("blacklist", self.blacklist);
    }
};

enum list_action : uint32_t {
    add_rule = 0,
    remove_rule = 1
};

enum flush_mode : uint32_t {
    flush_both = 0,
    flush_whitelist = 1,
    flush_blacklist = 2
};

// The intrusion-prevention engine.
class ips_service
    : public engine_service<ips_service, utm_ips_message, ips_state, utm_ips_message, &utm_ips_message::result> {
public:
    static const code_handler* find(uint32_t code);

    int32_t activate(const utm_ips_message& request, answer_to&) { return switch_to(state_.on, request.on); }
    int32_t debug(const utm_ips_message& request, answer_to&) { return switch_to(state_.debug, request.debug); }

    int32_t show_status(const utm_ips_message&, answer_to& answer)
    {
        answer.last.on = state_.on;
        answer.last.unread_8 = customized_rules();
        answer.last.debug = state_.debug;
        state_.signature.put_into(answer.last.signature_path);
        return accepted;
    }

    int32_t set_whitelist(const utm_ips_message& request, answer_to&) { return change(state_.whitelist, request); }
    int32_t set_blacklist(const utm_ips_message& request, answer_to&) { return change(state_.blacklist, request); }

    int32_t show_customizelist(const utm_ips_message&, answer_to& answer)
    {
        std::map<rule_id, rule_name> names;
        for (const ips_rule& rule : state_.rules)
            names.emplace(rule.id, rule.name);
        for (const auto* list : {&state_.whitelist, &state_.blacklist}) {
            for (const rule_id& id : list->values())
                answer.entries.push_back(entry_of(id, names));
        }
        return customized_rules() < state_.limit ? UTM_IPS_LIST_END : UTM_IPS_LIST_FULL;
    }

    int32_t update_signature(const utm_ips_message& request, answer_to&)
    {
        state_.signature = wire_text(request.signature_path);
        return accepted;
    }

    int32_t reset(const utm_ips_message&, answer_to&)
    {
        state_ = {.rules = state_.rules, .limit = state_.limit};
        return accepted;
    }

    int32_t flush(const utm_ips_message& request, answer_to&)
    {
        if (request.flush_mode > flush_blacklist)
            return value_refused;
        if (request.flush_mode != flush_blacklist)
            state_.whitelist.clear();
        if (request.flush_mode != flush_whitelist)
            state_.blacklist.clear();
        return accepted;
    }

private:
    uint32_t customized_rules() const
    {
        return static_cast<uint32_t>(state_.whitelist.values().size() + state_.blacklist.values().size());
    }

    int32_t change(unique_list<rule_id>& list, const utm_ips_message& request)
    {
        const rule_id id(request.rule_id);
        if (request.list_action == remove_rule)
            return list.remove(id) ? accepted : entry_unknown;
        if (request.list_action != add_rule)
            return value_refused;
        if (customized_rules() >= state_.limit)
            return list_full;
        return list.add(id) ? accepted : entry_exists;
    }

    // A rule without a name of its own goes by its identifier.
    static record entry_of(const rule_id& id, const std::map<rule_id, rule_name>& names)
    {
        utm_ips_message entry = {.result = UTM_IPS_LIST_ENTRY};
        if (auto known = names.find(id); known != names.end())
            known->second.put_into(entry.rule_name);
        else
            id.text().copy(entry.rule_name, sizeof entry.rule_name);
        return to_record(entry);
    }
};

constexpr ips_service::code_handler handlers[] = {
    {UTM_IPS_ACTIVATE, &ips_service::activate},
    {UTM_IPS_SHOW_STATUS, &ips_service::show_status},
    {UTM_IPS_SET_WHITELIST, &ips_service::set_whitelist},
    {UTM_IPS_SET_BLACKLIST, &ips_service::set_blacklist},
    {UTM_IPS_SHOW_CUSTOMIZELIST, &ips_service::show_customizelist},
    {UTM_IPS_UPDATE_SIGNATURE, &ips_service::update_signature},
    {UTM_IPS_DEBUG, &ips_service::debug},
    {UTM_IPS_RESET, &ips_service::reset},
    {UTM_IPS_FLUSH, &ips_service::flush},
};

const ips_service::code_handler* ips_service::find(uint32_t code)
{
    return find_row(handlers, code);
}

} // namespace

std::unique_ptr<service> make_ips()
{
    return std::make_unique<ips_service>();
}

} // namespace sim
