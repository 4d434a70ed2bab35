// The records of the IPS channel as the compiler lays them out: the daemon reads them at these offsets.

#include "kqutm/ips.h"

#include <cstddef>

static_assert(sizeof(utm_ips_message) == 316);
static_assert(offsetof(utm_ips_message, code) == 0);
static_assert(offsetof(utm_ips_message, on) == 4);
static_assert(offsetof(utm_ips_message, unread_8) == 8);
static_assert(offsetof(utm_ips_message, debug) == 12);
static_assert(offsetof(utm_ips_message, flush_mode) == 16);
static_assert(offsetof(utm_ips_message, rule_id) == 20);
static_assert(offsetof(utm_ips_message, rule_name) == 31);
static_assert(offsetof(utm_ips_message, list_action) == 52);
static_assert(offsetof(utm_ips_message, signature_path) == 56);
static_assert(offsetof(utm_ips_message, result) == 312);

static_assert(sizeof(utm_ips_rule) == 56);
static_assert(offsetof(utm_ips_rule, prev) == 0);
static_assert(offsetof(utm_ips_rule, next) == 8);
static_assert(offsetof(utm_ips_rule, unused) == 16);
static_assert(offsetof(utm_ips_rule, name) == 32);
