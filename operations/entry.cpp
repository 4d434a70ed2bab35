#include "operations/entry.h"

#include "operations/text.h"

namespace operations {

json entry_json(const utm_app_usage_entry& entry)
{
    return {{"first_value", entry.first_value}, {"second_value", entry.second_value}};
}

json entry_json(const utm_app_usage_prev_days_entry& entry)
{
    return {{"app_id", entry.app_id}, {"per_day_figures", hex_of(entry.per_day_figures)}};
}

json entry_json(const utm_av_entry& entry)
{
    return {{"cache_key", text_of(entry.cache_key)},
            {"cache_value", text_of(entry.cache_value)},
            {"whitelist_entry", text_of(entry.whitelist_entry)}};
}

json entry_json(const utm_device& entry)
{
    const utm_device_record& device = entry.record;
    return {{"mac", text_of(device.mac)},
            {"name", text_of(device.name)},
            {"ip", text_of(device.ip)},
            {"interface_name", text_of(device.interface_name)},
            {"type_name", text_of(device.type_name)},
            {"kind", device.kind}};
}

json entry_json(const utm_domain_browse_entry& entry)
{
    return {{"domain", text_of(entry.domain)}, {"value", entry.value}};
}

json entry_json(const utm_ips_rule& entry)
{
    return {{"name", text_of(entry.name)}};
}

json entry_json(const utm_ir_entry& entry)
{
    return {{"value", entry.value}, {"second_value", entry.second_value}};
}

json entry_json(const utm_profile_mapping& entry)
{
    return {{"profile_id", entry.profile_id}, {"cf_policy_id", entry.cf_policy_id}};
}

json entry_json(const utm_weekday_limit_entry& entry)
{
    return {{"first_value", entry.first_value}, {"second_value", entry.second_value}};
}

} // namespace operations
