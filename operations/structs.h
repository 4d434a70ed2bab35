#pragma once

#include "kqutm.h"
#include "kqutm/daemon.h"
#include "operations/prototype.h"

// The structs that functions take and hand out.
namespace operations {

template <> inline constexpr std::string_view spelling<utm_app_usage_entry*> = "struct utm_app_usage_entry*";
template <>
inline constexpr std::string_view spelling<utm_app_usage_prev_days_entry*> = "struct utm_app_usage_prev_days_entry*";
template <> inline constexpr std::string_view spelling<utm_av_entry*> = "struct utm_av_entry*";
template <> inline constexpr std::string_view spelling<utm_av_status*> = "struct utm_av_status*";
template <> inline constexpr std::string_view spelling<utm_device*> = "struct utm_device*";
template <> inline constexpr std::string_view spelling<utm_devid_status*> = "struct utm_devid_status*";
template <> inline constexpr std::string_view spelling<utm_domain_browse_entry*> = "struct utm_domain_browse_entry*";
template <> inline constexpr std::string_view spelling<utm_event_response*> = "struct utm_event_response*";
template <> inline constexpr std::string_view spelling<utm_id_registry*> = "struct utm_id_registry*";
template <> inline constexpr std::string_view spelling<utm_ips_message*> = "struct utm_ips_message*";
template <> inline constexpr std::string_view spelling<utm_ips_rule*> = "struct utm_ips_rule*";
template <> inline constexpr std::string_view spelling<utm_ir_entry*> = "struct utm_ir_entry*";
template <> inline constexpr std::string_view spelling<utm_profile_mapping*> = "struct utm_profile_mapping*";
template <> inline constexpr std::string_view spelling<utm_weekday_limit_entry*> = "struct utm_weekday_limit_entry*";

} // namespace operations
