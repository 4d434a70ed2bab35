#include "sim/app_state.h"
#include "sim/policy_service.h"
#include "sim/statistics.h"

namespace sim {

namespace {

using app_event = utm_app_config_event;
using limits_body = decltype(app_event{}.body.limits);
using response = utm_event_response;

record entry_of(const weekday_limit& limit)
{
    const auto weekday = static_cast<uint32_t>(limit.weekday);
    return to_record(
        response{.status = UTM_RESPONSE_MORE, .weekday_limit_values = {weekday, static_cast<uint32_t>(limit.limit)}});
}

record entry_of(const app_today& used)
{
    return to_record(response{.status = UTM_RESPONSE_MORE, .app_usage_values = {used.app, used.minutes}});
}

record entry_of(const app_earlier& used)
{
    response entry = {.status = UTM_RESPONSE_MORE, .prev_days_app_id = used.app};
    memcpy(entry.prev_days_figures, used.minutes.values.data(), used.minutes.values.size() * sizeof(uint32_t));
    return to_record(entry);
}

// The application daemon.
class app_service : public policy_service<app_service, app_event, app_state> {
public:
    static constexpr char dump_heading[] = "====Dump application daemon";
    static const code_handler* find_own(uint32_t code);

    template <int32_t app_limits::*limit, int32_t limits_body::*argument>
    config_status set_limit(const app_event& event, config_answer&)
    {
        return at_limits(event, [&](app_limits& limits) { limits.*limit = event.body.limits.*argument; });
    }

    template <int32_t app_limits::*limit, uint32_t response::*place>
    config_status get_limit(const app_event& event, config_answer& answer)
    {
        return at_limits(event,
                         [&](const app_limits& limits) { answer.last.*place = static_cast<uint32_t>(limits.*limit); });
    }

    config_status set_weekday_limit(const app_event& event, config_answer&)
    {
        const auto weekday = static_cast<int32_t>(event.body.limits.weekday_or_query);
        return at_limits(event, [&](app_limits& limits) {
            std::vector<weekday_limit>& known = limits.weekday_limits;
            auto found = std::ranges::find(known, weekday, &weekday_limit::weekday);
            if (found == known.end())
                found = known.insert(found, {.weekday = weekday});
            found->limit = event.body.limits.limit;
        });
    }

    config_status get_weekday_limits(const app_event& event, config_answer& answer)
    {
        return at_limits(event, [&](const app_limits& limits) {
            for (const weekday_limit& limit : limits.weekday_limits)
                answer.entries.push_back(entry_of(limit));
        });
    }

    config_status reset_extension(const app_event& event, config_answer&)
    {
        return at_limits(event, [](app_limits& limits) { limits.extension = 0; });
    }

    config_status get_usage(const app_event& event, config_answer& answer)
    {
        return at_profile(id_of(event), [&](const app_profile& profile) {
            const uint32_t figures[] = {profile.usage.today, profile.usage.week, profile.usage.month};
            std::ranges::copy(figures, answer.last.usage);
            return done;
        });
    }

    // The query names one application, or with 0 all of them.
    template <auto list> config_status get_usage_list(const app_event& event, config_answer& answer)
    {
        const uint32_t app = event.body.limits.weekday_or_query;
        return at_profile(id_of(event), [&](const app_profile& profile) {
            for (const auto& used : profile.usage.*list) {
                if (app == 0 || used.app == app)
                    answer.entries.push_back(entry_of(used));
            }
            return done;
        });
    }

    config_status add_entries(const app_event& event, config_answer&)
    {
        const uint32_t count = event.body.policy.count;
        return at_policy(static_cast<int32_t>(event.body.policy.id), [&](app_policy& policy) {
            if (count == 0 || count > UTM_APP_ENTRIES_PER_RECORD)
                return number_refused;
            for (uint32_t entry = 0; entry < count; entry++)
                policy.entries.push_back({std::to_array(event.body.policy.entries[entry])});
            return done;
        });
    }

    config_status reset_entries(const app_event& event, config_answer&)
    {
        return at_policy(static_cast<int32_t>(event.body.policy.id), [](app_policy& policy) {
            policy.entries.clear();
            return done;
        });
    }

    config_status update_signature(const app_event& event, config_answer&)
    {
        const std::string path = text_of(event.body.path);
        if (!can_read(path))
            return file_inaccessible;
        state_.signature = path;
        return done;
    }

    config_status get_status(const app_event&, config_answer& answer)
    {
        const uint32_t words[] = {state_.status.first, state_.status.second, state_.status.third};
        std::ranges::copy(words, answer.last.daemon_status);
        return done;
    }

    config_status get_interval(const app_event&, config_answer& answer)
    {
        answer.last.export_interval = static_cast<uint32_t>(state_.export_interval);
        return done;
    }

    config_status export_usage(const app_event& event, config_answer&)
    {
        return export_statistics(state_, text_of(event.body.path));
    }

    config_status import_usage(const app_event& event, config_answer&)
    {
        return import_statistics(state_, text_of(event.body.path));
    }

private:
    static int32_t id_of(const app_event& event) { return static_cast<int32_t>(event.body.limits.profile); }

    template <class Act> config_status at_limits(const app_event& event, const Act& act)
    {
        return at_profile(id_of(event), [&](app_profile& profile) {
            act(profile.limits);
            return done;
        });
    }
};

constexpr app_service::code_handler handlers[] = {
    {UTM_APP_SET_DAILY_LIMIT_ENABLE,
     &app_service::set_limit<&app_limits::daily_limit_enable, &limits_body::daily_limit_enable>},
    {UTM_APP_GET_DAILY_LIMIT_ENABLE,
     &app_service::get_limit<&app_limits::daily_limit_enable, &response::daily_limit_enable>},
    {UTM_APP_SET_DAILY_LIMIT, &app_service::set_limit<&app_limits::daily_limit, &limits_body::limit>},
    {UTM_APP_GET_DAILY_LIMIT, &app_service::get_limit<&app_limits::daily_limit, &response::daily_limit>},
    {UTM_APP_SET_WEEKDAY_LIMIT, &app_service::set_weekday_limit},
    {UTM_APP_GET_WEEKDAY_LIMITS, &app_service::get_weekday_limits},
    {UTM_APP_SET_EXTENSION, &app_service::set_limit<&app_limits::extension, &limits_body::extension>},
    {UTM_APP_GET_EXTENSION, &app_service::get_limit<&app_limits::extension, &response::extension>},
    {UTM_APP_RESET_EXTENSION, &app_service::reset_extension},
    {UTM_APP_GET_USAGE, &app_service::get_usage},
    {UTM_APP_GET_USAGE_BY_APP, &app_service::get_usage_list<&app_usage::apps>},
    {UTM_APP_GET_USAGE_PREV_DAYS, &app_service::get_usage_list<&app_usage::earlier_days>},
    {UTM_APP_DUMP, &app_service::dump},
    {UTM_APP_ACTIVATE, &app_service::set_number<&app_state::active>},
    {UTM_APP_DEBUG, &app_service::set_number<&app_state::debug>},
    {UTM_APP_POLICY_CREATE, &app_service::create_policy},
    {UTM_APP_POLICY_ADD_ENTRIES, &app_service::add_entries},
    {UTM_APP_POLICY_RESET_ENTRIES, &app_service::reset_entries},
    {UTM_APP_BIND_POLICY, &app_service::bind_policy},
    {UTM_APP_UPDATE_SIGNATURE, &app_service::update_signature},
    {UTM_APP_GET_DAEMON_STATUS, &app_service::get_status},
    {UTM_APP_GET_EXPORT_INTERVAL, &app_service::get_interval},
    {UTM_APP_SET_EXPORT_INTERVAL, &app_service::set_number<&app_state::export_interval>},
    {UTM_APP_IMPORT_STATISTICS, &app_service::import_usage},
    {UTM_APP_EXPORT_STATISTICS, &app_service::export_usage},
};

const app_service::code_handler* app_service::find_own(uint32_t code)
{
    return find_row(handlers, code);
}

} // namespace

std::unique_ptr<service> make_app()
{
    return std::make_unique<app_service>();
}

} // namespace sim
