#include "kqutm/daemon.h"
#include "sim/engine_service.h"
#include "sim/unique_list.h"

namespace sim {

namespace {

struct ir_entry {
    uint32_t value;
    uint16_t second_value;

    bool operator==(const ir_entry&) const = default;

    static void members(auto& self, auto&& each)
    {
        each("value", self.value);
        each("second_value", self.second_value);
    }
};

struct ir_version {
    uint32_t first = 0;
    uint32_t second = 1;
    uint32_t third = 0;

    static void members(auto& self, auto&& each)
    {
        each("first", self.first);
        each("second", self.second);
        each("third", self.third);
    }
};

struct ir_state {
    bool on = false;
    bool debug = false;
    uint32_t update_check_freq = 0;
    int32_t max_size_mb = 64;
    uint32_t threat_category = 0;
    wire_text<sizeof utm_ir_request::body.path> database;
    ir_version version; // that of no database, until one is loaded
    unique_list<ir_entry> whitelist;
    unique_list<ir_entry> blacklist;

    static void members(auto& self, auto&& each)
    {
        each("on", self.on);
        each("debug", self.debug);
        each("update_check_freq", self.update_check_freq);
        each("max_size_mb", self.max_size_mb);
        each("threat_category", self.threat_category);
        each("database", self.database);
        each("version", self.version);
        each("whitelist", self.whitelist);
        each("blacklist", self.blacklist);
    }
};

// The IR threat database.
class ir_service : public engine_service<ir_service, utm_ir_request, ir_state, utm_ir_reply, &utm_ir_reply::status> {
public:
    static const code_handler* find(uint32_t code);

    template <auto switched, bool value> int32_t set_switch(const utm_ir_request&, answer_to&)
    {
        state_.*switched = value;
        return accepted;
    }

    template <auto number> int32_t set_number(const utm_ir_request& request, answer_to&)
    {
        state_.*number = static_cast<std::remove_reference_t<decltype(state_.*number)>>(request.body.entry.value);
        return accepted;
    }

    int32_t set_max_size(const utm_ir_request& request, answer_to& answer)
    {
        return request.body.entry.value != 0 ? set_number<&ir_state::max_size_mb>(request, answer) : value_refused;
    }

    template <auto list> int32_t add(const utm_ir_request& request, answer_to&)
    {
        return (state_.*list).add(entry_of(request)) ? accepted : entry_exists;
    }

    template <auto list> int32_t remove(const utm_ir_request& request, answer_to&)
    {
        return (state_.*list).remove(entry_of(request)) ? accepted : entry_unknown;
    }

    template <auto list> int32_t clear(const utm_ir_request&, answer_to&)
    {
        (state_.*list).clear();
        return accepted;
    }

    // The result of the last record is the flag that ends the list.
    template <auto list> int32_t get(const utm_ir_request&, answer_to& answer)
    {
        for (const ir_entry& entry : (state_.*list).values())
            answer.entries.push_back(to_record(utm_ir_list_record{
                .end = 0, .value = entry.value, .second_value = entry.second_value, .unread_10 = {}}));
        return 1;
    }

    // Each one that is loaded counts as an update of the one before.
    int32_t load_database(const utm_ir_request& request, answer_to&)
    {
        state_.database = wire_text(request.body.path);
        state_.version.third++;
        return accepted;
    }

    int32_t show_status(const utm_ir_request&, answer_to& answer)
    {
        answer.last = {.status = 0, .version = {state_.version.first, state_.version.second, state_.version.third}};
        return accepted;
    }

private:
    static ir_entry entry_of(const utm_ir_request& request)
    {
        return {request.body.entry.value, request.body.entry.second_value};
    }
};

using ir = ir_service;
constexpr auto white = &ir_state::whitelist;
constexpr auto black = &ir_state::blacklist;

constexpr ir::code_handler handlers[] = {
    {UTM_IR_ACTIVATE_ON, &ir::set_switch<&ir_state::on, true>},
    {UTM_IR_ACTIVATE_OFF, &ir::set_switch<&ir_state::on, false>},
    {UTM_IR_SET_UPDATE_CHECK_FREQ, &ir::set_number<&ir_state::update_check_freq>},
    {UTM_IR_SET_MAX_SIZE_MB, &ir::set_max_size},
    {UTM_IR_DEBUG_ON, &ir::set_switch<&ir_state::debug, true>},
    {UTM_IR_DEBUG_OFF, &ir::set_switch<&ir_state::debug, false>},
    {UTM_IR_SET_WHITELIST_0, &ir::add<white>},
    {UTM_IR_SET_WHITELIST_1, &ir::remove<white>},
    {UTM_IR_FLUSH_FIRST, &ir::clear<white>},
    {UTM_IR_SET_THREAT_CATEGORY, &ir::set_number<&ir_state::threat_category>},
    {UTM_IR_SET_BLACKLIST_0, &ir::add<black>},
    {UTM_IR_SET_BLACKLIST_1, &ir::remove<black>},
    {UTM_IR_FLUSH_SECOND, &ir::clear<black>},
    {UTM_IR_GET_WHITELIST, &ir::get<white>},
    {UTM_IR_GET_BLACKLIST, &ir::get<black>},
    {UTM_IR_LOAD_DB, &ir::load_database},
    {UTM_IR_SHOW_DB_STATUS, &ir::show_status},
};

const ir_service::code_handler* ir_service::find(uint32_t code)
{
    return find_row(handlers, code);
}

} // namespace

std::unique_ptr<service> make_ir()
{
    return std::make_unique<ir_service>();
}

} // namespace sim
