#include "kqutm/daemon.h"
#include "sim/engine_service.h"
#include "sim/unique_list.h"

namespace sim {

namespace {

using whitelist_entry = wire_text<sizeof utm_av_message::text>;

struct av_cache_entry {
    wire_text<sizeof utm_av_message::text> key;
    wire_text<sizeof utm_av_message::cache_value> value;

    static void members(auto& self, auto&& each)
    {
        each("key", self.key);
        each("value", self.value);
    }
};

struct av_state {
    bool on = false;
    bool debug = false;
    uint32_t cache_size = 10;
    unique_list<whitelist_entry> whitelist;
    std::vector<av_cache_entry> cache;

    static void members(auto& self, auto&& each)
    {
        each("on", self.on);
        each("debug", self.debug);
        each("cache_size", self.cache_size);
        each("whitelist", self.whitelist);
        each("cache", self.cache);
    }
};

enum whitelist_operation : uint32_t {
    add_entry = 0,
    remove_entry = 1
};

constexpr uint32_t largest_cache_size = 10;
constexpr int32_t end_of_list = -1;

// The anti-virus engine.
class av_service
    : public engine_service<av_service, utm_av_message, av_state, utm_av_message, &utm_av_message::status> {
public:
    static const code_handler* find(uint32_t code);

    int32_t activate(const utm_av_message& request, answer_to&) { return switch_to(state_.on, request.on); }
    int32_t debug(const utm_av_message& request, answer_to&) { return switch_to(state_.debug, request.on); }

    int32_t show_status(const utm_av_message&, answer_to& answer)
    {
        answer.last.on = state_.on;
        answer.last.status_word_2 = state_.debug;
        answer.last.status_word_3 = state_.cache_size;
        return accepted;
    }

    int32_t set_cache_size(const utm_av_message& request, answer_to&)
    {
        if (request.cache_size > largest_cache_size)
            return value_refused;
        state_.cache_size = request.cache_size;
        return accepted;
    }

    int32_t show_cache(const utm_av_message&, answer_to& answer)
    {
        for (const av_cache_entry& entry : state_.cache) {
            utm_av_message message = {};
            entry.key.put_into(message.text);
            entry.value.put_into(message.cache_value);
            answer.entries.push_back(to_record(message));
        }
        return end_of_list;
    }

    int32_t set_whitelist(const utm_av_message& request, answer_to&)
    {
        const whitelist_entry entry(request.text);
        if (entry.empty() || request.whitelist_operation > remove_entry)
            return value_refused;
        if (request.whitelist_operation == add_entry)
            return state_.whitelist.add(entry) ? accepted : entry_exists;
        return state_.whitelist.remove(entry) ? accepted : entry_unknown;
    }

    int32_t show_whitelist(const utm_av_message&, answer_to& answer)
    {
        for (const whitelist_entry& entry : state_.whitelist.values()) {
            utm_av_message message = {};
            entry.put_into(message.text);
            answer.entries.push_back(to_record(message));
        }
        return end_of_list;
    }

    int32_t reset(const utm_av_message&, answer_to&)
    {
        state_ = {};
        return accepted;
    }

    int32_t flush(const utm_av_message&, answer_to&)
    {
        state_.cache.clear();
        return accepted;
    }
};

constexpr av_service::code_handler handlers[] = {
    {UTM_AV_ACTIVATE, &av_service::activate},
    {UTM_AV_SHOW_STATUS, &av_service::show_status},
    {UTM_AV_CACHE_SET_MAX_SIZE, &av_service::set_cache_size},
    {UTM_AV_SHOW_CACHE, &av_service::show_cache},
    {UTM_AV_SET_WHITELIST, &av_service::set_whitelist},
    {UTM_AV_SHOW_WHITELIST, &av_service::show_whitelist},
    {UTM_AV_DEBUG, &av_service::debug},
    {UTM_AV_RESET, &av_service::reset},
    {UTM_AV_FLUSH, &av_service::flush},
};

const av_service::code_handler* av_service::find(uint32_t code)
{
    return find_row(handlers, code);
}

} // namespace

std::unique_ptr<service> make_av()
{
    return std::make_unique<av_service>();
}

} // namespace sim
