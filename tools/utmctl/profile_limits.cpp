#include "tools/utmctl/profile_limits.h"

#include "kqutm/profile.h"

#include "tools/utmctl/arguments.h"
#include "tools/utmctl/hex.h"
#include "tools/utmctl/number.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace {

constexpr const config_daemon& content_filter = config_daemons[UTM_CONFIG_TARGET_CF];
constexpr const config_daemon& application = config_daemons[UTM_CONFIG_TARGET_APP];

uint32_t profile_of(const request& asked)
{
    return static_cast<uint32_t>(id_of(asked.one("ID")));
}

int32_t number_of(const request& asked, const char* name)
{
    return whole_of<int32_t>(asked.one(name));
}

uint32_t query_of(const request& asked)
{
    return asked.has("QUERY") ? whole_of<uint32_t>(asked.one("QUERY")) : 0;
}

// Under the name of the argument that sets it.
template <auto get, const auto& shown> json read_number(const request& asked)
{
    uint32_t value = 0;
    if (get(profile_of(asked), &value) != 0)
        return {};
    return {{"id", profile_of(asked)}, {shown[0].name, value}};
}

json read_usage(const request& asked)
{
    uint32_t figures[3] = {};
    if (utm_user_profile_get_usage(profile_of(asked), &figures[0], &figures[1], &figures[2]) != 0)
        return {};
    return {{"id", profile_of(asked)}, {"first", figures[0]}, {"second", figures[1]}, {"third", figures[2]}};
}

// A list whose entries begin with their links, as an array; null for a list that could not be had.
template <class Entry> json array_of(const Entry* head, json (*value)(const Entry&))
{
    if (head == nullptr)
        return {};
    json values = json::array();
    for (const utm_list_links* at = head->links.next; at != &head->links; at = at->next)
        values.push_back(value(*reinterpret_cast<const Entry*>(at)));
    return values;
}

template <class Entry> json json_of_pair(const Entry& entry)
{
    return {{"first", entry.first_value}, {"second", entry.second_value}};
}

json json_of_days(const utm_app_usage_prev_days_entry& entry)
{
    return {{"app", entry.app_id}, {"figures", hex_of(entry.per_day_figures)}};
}

json json_of_domain(const utm_domain_browse_entry& entry)
{
    return {{"domain", std::string(entry.domain, strnlen(entry.domain, sizeof entry.domain))}, {"value", entry.value}};
}

json read_weekday_limits(const request& asked)
{
    return array_of(utm_user_profile_get_weekday_daily_limit(profile_of(asked)), json_of_pair<utm_weekday_limit_entry>);
}

json read_app_usage(const request& asked)
{
    return array_of(utm_user_profile_get_app_usage(profile_of(asked), query_of(asked)),
                    json_of_pair<utm_app_usage_entry>);
}

json read_app_usage_days(const request& asked)
{
    return array_of(utm_user_profile_get_app_usage_prev_days(profile_of(asked), query_of(asked)), json_of_days);
}

// Its links come last, so that each entry begins before them.
json read_domains(const request& asked)
{
    const utm_domain_browse_entry* head = utm_user_profile_get_browse_domain_list(id_of(asked.one("ID")));
    if (head == nullptr)
        return {};
    json values = json::array();
    for (const utm_list_links* at = head->links.next; at != &head->links; at = at->next) {
        const char* entry = reinterpret_cast<const char*>(at) - offsetof(utm_domain_browse_entry, links);
        values.push_back(json_of_domain(*reinterpret_cast<const utm_domain_browse_entry*>(entry)));
    }
    return values;
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
    application, "the daily-limit switch of profile {ID}", "set to {SWITCH}", [](const request& asked) {
        return utm_user_profile_set_daily_limit_enable(profile_of(asked), switch_of(asked.one("SWITCH")));
    }};
constinit const config_change set_daily_limit = {
    application, "the daily limit of profile {ID}", "set to {LIMIT}", [](const request& asked) {
        return utm_user_profile_set_daily_limit(profile_of(asked), number_of(asked, "LIMIT"));
    }};
constinit const config_change set_weekday_limit = {
    application, "the limit of profile {ID} on weekday {WEEKDAY}", "set to {LIMIT}", [](const request& asked) {
        return utm_user_profile_set_weekday_daily_limit(profile_of(asked), number_of(asked, "WEEKDAY"),
                                                        number_of(asked, "LIMIT"));
    }};
constinit const config_change set_extension = {
    application, "the extension of profile {ID}", "set to {EXTENSION}", [](const request& asked) {
        return utm_user_profile_set_extended(profile_of(asked), number_of(asked, "EXTENSION"));
    }};
constinit const config_change reset_extension = {
    application, "the extension of profile {ID}", "taken back",
    [](const request& asked) { return utm_user_profile_reset_extended(profile_of(asked)); }};

constinit const config_reading daily_limit_enable = {application, "the daily-limit switch of profile {ID}", enable,
                                                     read_number<utm_user_profile_get_daily_limit_enable, enable>};
constinit const config_reading daily_limit = {application, "the daily limit of profile {ID}", limit,
                                              read_number<utm_user_profile_get_daily_limit, limit>};
constinit const config_reading weekday_limits = {application, "the list of weekday limits of profile {ID}", pair,
                                                 read_weekday_limits};
constinit const config_reading extension = {application, "the extension of profile {ID}", extended,
                                            read_number<utm_user_profile_get_extended, extended>};
constinit const config_reading usage = {application, "the usage of profile {ID}", figures, read_usage};
constinit const config_reading app_usage = {application, "the application usage of profile {ID}", pair, read_app_usage};
constinit const config_reading app_usage_days = {application, "the application usage of profile {ID} on earlier days",
                                                 days, read_app_usage_days};
constinit const config_reading browsed_domains = {content_filter, "the list of browsed domains of profile {ID}",
                                                  domains, read_domains};
