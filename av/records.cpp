// The records of the AV channel as the compiler lays them out: the daemon reads them at these offsets.

#include "kqutm/engines.h"

#include <cstddef>

static_assert(sizeof(utm_av_message) == 96);
static_assert(offsetof(utm_av_message, code) == 0);
static_assert(offsetof(utm_av_message, on) == 4);
static_assert(offsetof(utm_av_message, status_word_2) == 8);
static_assert(offsetof(utm_av_message, status_word_3) == 12);
static_assert(offsetof(utm_av_message, cache_size) == 16);
static_assert(offsetof(utm_av_message, text) == 20);
static_assert(offsetof(utm_av_message, cache_value) == 53);
static_assert(offsetof(utm_av_message, unread_85) == 85);
static_assert(offsetof(utm_av_message, whitelist_operation) == 88);
static_assert(offsetof(utm_av_message, status) == 92);

static_assert(sizeof(utm_av_entry) == 168);
static_assert(offsetof(utm_av_entry, prev) == 0);
static_assert(offsetof(utm_av_entry, next) == 8);
static_assert(offsetof(utm_av_entry, unused_16) == 16);
static_assert(offsetof(utm_av_entry, cache_key) == 32);
static_assert(offsetof(utm_av_entry, cache_value) == 65);
static_assert(offsetof(utm_av_entry, unused_97) == 97);
static_assert(offsetof(utm_av_entry, whitelist_entry) == 128);

static_assert(sizeof(utm_av_status) == 16);
static_assert(offsetof(utm_av_status, unwritten) == 0);
static_assert(offsetof(utm_av_status, words) == 4);
