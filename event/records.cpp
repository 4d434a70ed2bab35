// The records of the config channel as the compiler lays them out: the daemons read them at these offsets.

#include "kqutm/daemon.h"

#include <bit>
#include <cstddef>

static_assert(sizeof(void*) == 8, "a response carries addresses of 8 bytes");
static_assert(std::endian::native == std::endian::little, "the daemons read little-endian records");

static_assert(sizeof(utm_cf_config_event) == 2056);
static_assert(offsetof(utm_cf_config_event, code) == 0);
static_assert(offsetof(utm_cf_config_event, reserved) == 1);
static_assert(offsetof(utm_cf_config_event, body) == 8);
static_assert(offsetof(utm_cf_config_event, body.profile.id) == 8);
static_assert(offsetof(utm_cf_config_event, body.profile.mac) == 12);
static_assert(offsetof(utm_cf_config_event, body.policy.id) == 8);
static_assert(offsetof(utm_cf_config_event, body.policy.block) == 12);
static_assert(offsetof(utm_cf_config_event, body.binding.profile) == 8);
static_assert(offsetof(utm_cf_config_event, body.binding.policy) == 12);
static_assert(offsetof(utm_cf_config_event, body.policy_text.id) == 8);
static_assert(offsetof(utm_cf_config_event, body.policy_text.text) == 12);
static_assert(offsetof(utm_cf_config_event, body.flush.policy) == 8);
static_assert(offsetof(utm_cf_config_event, body.flush.type) == 12);
static_assert(offsetof(utm_cf_config_event, body.value) == 8);
static_assert(offsetof(utm_cf_config_event, body.url) == 8);
static_assert(offsetof(utm_cf_config_event, body.path) == 8);
static_assert(offsetof(utm_cf_config_event, body.bytes) == 8);

static_assert(sizeof(utm_app_config_event) == 136);
static_assert(offsetof(utm_app_config_event, code) == 0);
static_assert(offsetof(utm_app_config_event, reserved) == 1);
static_assert(offsetof(utm_app_config_event, body) == 8);
static_assert(offsetof(utm_app_config_event, body.profile.id) == 8);
static_assert(offsetof(utm_app_config_event, body.profile.mac) == 12);
static_assert(offsetof(utm_app_config_event, body.limits.profile) == 8);
static_assert(offsetof(utm_app_config_event, body.limits.weekday_or_query) == 12);
static_assert(offsetof(utm_app_config_event, body.limits.daily_limit_enable) == 16);
static_assert(offsetof(utm_app_config_event, body.limits.limit) == 20);
static_assert(offsetof(utm_app_config_event, body.limits.extension) == 24);
static_assert(offsetof(utm_app_config_event, body.policy.id) == 8);
static_assert(offsetof(utm_app_config_event, body.policy.count) == 12);
static_assert(offsetof(utm_app_config_event, body.policy.entries) == 16);
static_assert(offsetof(utm_app_config_event, body.binding.profile) == 8);
static_assert(offsetof(utm_app_config_event, body.binding.policy) == 12);
static_assert(offsetof(utm_app_config_event, body.value) == 8);
static_assert(offsetof(utm_app_config_event, body.values) == 8);
static_assert(offsetof(utm_app_config_event, body.path) == 8);
static_assert(offsetof(utm_app_config_event, body.bytes) == 8);

static_assert(sizeof(utm_user_profile_config_event) == 16);
static_assert(offsetof(utm_user_profile_config_event, code) == 0);
static_assert(offsetof(utm_user_profile_config_event, reserved) == 1);
static_assert(offsetof(utm_user_profile_config_event, id) == 4);
static_assert(offsetof(utm_user_profile_config_event, mac) == 8);
static_assert(offsetof(utm_user_profile_config_event, unused) == 14);

static_assert(sizeof(utm_event_response) == 832);
static_assert(offsetof(utm_event_response, status) == 0);
static_assert(offsetof(utm_event_response, unread_1) == 1);
static_assert(offsetof(utm_event_response, usage) == 16);
static_assert(offsetof(utm_event_response, unread_28) == 28);
static_assert(offsetof(utm_event_response, app_usage_values) == 48);
static_assert(offsetof(utm_event_response, app_usage_list) == 56);
static_assert(offsetof(utm_event_response, unread_64) == 64);
static_assert(offsetof(utm_event_response, prev_days_app_id) == 80);
static_assert(offsetof(utm_event_response, prev_days_figures) == 84);
static_assert(offsetof(utm_event_response, prev_days_list) == 208);
static_assert(offsetof(utm_event_response, unread_216) == 216);
static_assert(offsetof(utm_event_response, daily_limit_enable) == 224);
static_assert(offsetof(utm_event_response, daily_limit) == 228);
static_assert(offsetof(utm_event_response, extension) == 232);
static_assert(offsetof(utm_event_response, daemon_status) == 236);
static_assert(offsetof(utm_event_response, unread_248) == 248);
static_assert(offsetof(utm_event_response, weekday_limit_values) == 264);
static_assert(offsetof(utm_event_response, weekday_limit_list) == 272);
static_assert(offsetof(utm_event_response, export_interval) == 280);
static_assert(offsetof(utm_event_response, unread_284) == 284);
static_assert(offsetof(utm_event_response, domain) == 288);
static_assert(offsetof(utm_event_response, domain_value) == 800);
static_assert(offsetof(utm_event_response, unread_804) == 804);
static_assert(offsetof(utm_event_response, domain_browse_list) == 824);

static_assert(offsetof(utm_list_links, next) == 0);
static_assert(offsetof(utm_list_links, prev) == 8);

static_assert(sizeof(utm_app_usage_entry) == 24);
static_assert(offsetof(utm_app_usage_entry, links) == 0);
static_assert(offsetof(utm_app_usage_entry, first_value) == 16);
static_assert(offsetof(utm_app_usage_entry, second_value) == 20);

static_assert(sizeof(utm_weekday_limit_entry) == 24);
static_assert(offsetof(utm_weekday_limit_entry, links) == 0);
static_assert(offsetof(utm_weekday_limit_entry, first_value) == 16);
static_assert(offsetof(utm_weekday_limit_entry, second_value) == 20);

static_assert(sizeof(utm_app_usage_prev_days_entry) == 144);
static_assert(offsetof(utm_app_usage_prev_days_entry, links) == 0);
static_assert(offsetof(utm_app_usage_prev_days_entry, app_id) == 16);
static_assert(offsetof(utm_app_usage_prev_days_entry, per_day_figures) == 20);

static_assert(sizeof(utm_domain_browse_entry) == 536);
static_assert(offsetof(utm_domain_browse_entry, domain) == 0);
static_assert(offsetof(utm_domain_browse_entry, value) == 512);
static_assert(offsetof(utm_domain_browse_entry, links) == 520);

static_assert(sizeof(utm_profile_mapping) == 24);
static_assert(offsetof(utm_profile_mapping, prev) == 0);
static_assert(offsetof(utm_profile_mapping, next) == 8);
static_assert(offsetof(utm_profile_mapping, profile_id) == 16);
static_assert(offsetof(utm_profile_mapping, cf_policy_id) == 20);
