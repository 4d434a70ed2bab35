#include "tools/utmctl/profile_limits.h"

#include "tools/utmctl/arguments.h"
#include "tools/utmctl/hex.h"
#include "tools/utmctl/number.h"

namespace {

constexpr const config_daemon& content_filter = config_daemons[UTM_CONFIG_TARGET_CF];
constexpr const config_daemon& application = config_daemons[UTM_CONFIG_TARGET_APP];

int32_t number_of(const request& asked, const char* name)
{
    return whole_of<int32_t>(asked.one(name));
}

uint32_t query_of(const request& asked)
{
    return asked.has("QUERY") ? whole_of<uint32_t>(asked.one("QUERY")) : 0;
}

// Under the name of the argument that sets it.
template <auto get, const auto& shown> kqutm::result<json> read_number(const request& asked)
{
    const kqutm::profile_id profile = profile_of(asked);
    return get(profile).transform([profile](uint32_t value) {
        return json{{"id", profile.number()}, {shown[0].name, value}};
    });
}

kqutm::result<json> read_usage(const request& asked)
{
    const kqutm::profile_id profile = profile_of(asked);
    return kqutm::limits::usage(profile).transform([profile](const auto& figures) {
        return json{{"id", profile.number()}, {"first", figures[0]}, {"second", figures[1]}, {"third", figures[2]}};
    });
}

json json_of(const utm_weekday_limit_entry& entry)
{
    return {{"first", entry.first_value}, {"second", entry.second_value}};
}

json json_of(const utm_app_usage_entry& entry)
{
    return {{"first", entry.first_value}, {"second", entry.second_value}};
}

json json_of(const utm_app_usage_prev_days_entry& entry)
{
    return {{"app", entry.app_id}, {"figures", hex_of(entry.per_day_figures)}};
}

json json_of(const utm_domain_browse_entry& entry)
{
    return {{"domain", kqutm::text_of(entry.domain)}, {"value", entry.value}};
}

template <class Entry> kqutm::result<json> array_of(const kqutm::result<kqutm::list<Entry>>& entries)
{
    return entries.transform([](const kqutm::list<Entry>& list) {
        json values = json::array();
        for (const Entry& entry : list)
            values.push_back(json_of(entry));
        return values;
    });
}

kqutm::result<json> read_weekday_limits(const request& asked)
{
    return array_of(kqutm::limits::weekdays(profile_of(asked)));
}

kqutm::result<json> read_app_usage(const request& asked)
{
    return array_of(kqutm::limits::usage_by_app(profile_of(asked), query_of(asked)));
}

kqutm::result<json> read_app_usage_days(const request& asked)
{
    return array_of(kqutm::limits::usage_on_earlier_days(profile_of(asked), query_of(asked)));
}

kqutm::result<json> read_domains(const request& asked)
{
    return array_of(kqutm::profiles::browsed_domains(profile_of(asked)));
}

constexpr shown_member enable[] = {{"switch", {"SWITCH"}}};
constexpr shown_member limit[] = {{"limit", {"LIMIT"}}};
constexpr shown_member extended[] = {{"extension", {"EXTENSION"}}};
constexpr shown_member pair[] = {{"first", {"FIRST"}}, {"second", {"SECOND"}}};
constexpr shown_member figures[] = {{"first", {"FIRST"}}, {"second", {"SECOND"}}, {"third", {"THIRD"}}};
constexpr shown_member days[] = {{"app", {"APP"}}, {"figures", {"FIGURES", false}}};
constexpr shown_member domains[] = {{"domain", {"DOMAIN", false}}, {"value", {"VALUE"}}};

} // namespace

constinit const config_change set_daily_limit_enable = {
    application, "the daily-limit switch of profile {ID}", "set to {SWITCH}",
    [](const request& asked) { return kqutm::limits::set_enabled(profile_of(asked), switch_of(asked.one("SWITCH"))); }};
constinit const config_change set_daily_limit = {
    application, "the daily limit of profile {ID}", "set to {LIMIT}",
    [](const request& asked) { return kqutm::limits::set_daily(profile_of(asked), number_of(asked, "LIMIT")); }};
constinit const config_change set_weekday_limit = {
    application, "the limit of profile {ID} on weekday {WEEKDAY}", "set to {LIMIT}", [](const request& asked) {
        return kqutm::limits::set_weekday(profile_of(asked), number_of(asked, "WEEKDAY"), number_of(asked, "LIMIT"));
    }};
constinit const config_change set_extension = {
    application, "the extension of profile {ID}", "set to {EXTENSION}",
    [](const request& asked) { return kqutm::limits::extend(profile_of(asked), number_of(asked, "EXTENSION")); }};
constinit const config_change reset_extension = {
    application, "the extension of profile {ID}", "taken back",
    [](const request& asked) { return kqutm::limits::take_extension_back(profile_of(asked)); }};

constinit const config_reading daily_limit_enable = {application, "the daily-limit switch of profile {ID}", enable,
                                                     read_number<kqutm::limits::enabled, enable>};
constinit const config_reading daily_limit = {application, "the daily limit of profile {ID}", limit,
                                              read_number<kqutm::limits::daily, limit>};
constinit const config_reading weekday_limits = {application, "the list of weekday limits of profile {ID}", pair,
                                                 read_weekday_limits};
constinit const config_reading extension = {application, "the extension of profile {ID}", extended,
                                            read_number<kqutm::limits::extension, extended>};
constinit const config_reading usage = {application, "the usage of profile {ID}", figures, read_usage};
constinit const config_reading app_usage = {application, "the application usage of profile {ID}", pair, read_app_usage};
constinit const config_reading app_usage_days = {application, "the application usage of profile {ID} on earlier days",
                                                 days, read_app_usage_days};
constinit const config_reading browsed_domains = {content_filter, "the list of browsed domains of profile {ID}",
                                                  domains, read_domains};
