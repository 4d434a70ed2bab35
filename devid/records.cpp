// The records of the devid channel as the compiler lays them out: the daemon reads them at these offsets.

#include "kqutm/engines.h"

#include <cstddef>

static_assert(sizeof(utm_devid_message) == 392);
static_assert(offsetof(utm_devid_message, code) == 0);
static_assert(offsetof(utm_devid_message, debug) == 4);
static_assert(offsetof(utm_devid_message, on) == 8);
static_assert(offsetof(utm_devid_message, status_word_3) == 12);
static_assert(offsetof(utm_devid_message, cache_size) == 16);
static_assert(offsetof(utm_devid_message, ignore) == 20);
static_assert(offsetof(utm_devid_message, device) == 24);
static_assert(offsetof(utm_devid_message, latest_timestamp) == 376);
static_assert(offsetof(utm_devid_message, result) == 384);
static_assert(offsetof(utm_devid_message, unread_388) == 388);

static_assert(sizeof(utm_device_record) == 352);
static_assert(offsetof(utm_device_record, mac) == 0);
static_assert(offsetof(utm_device_record, daemon_32) == 32);
static_assert(offsetof(utm_device_record, name) == 97);
static_assert(offsetof(utm_device_record, ip) == 161);
static_assert(offsetof(utm_device_record, interface_name) == 177);
static_assert(offsetof(utm_device_record, type_name) == 193);
static_assert(offsetof(utm_device_record, daemon_257) == 257);
static_assert(offsetof(utm_device_record, kind) == 332);
static_assert(offsetof(utm_device_record, daemon_336) == 336);

static_assert(sizeof(utm_device) == 368);
static_assert(offsetof(utm_device, prev) == 0);
static_assert(offsetof(utm_device, next) == 8);
static_assert(offsetof(utm_device, record) == 16);

static_assert(sizeof(utm_devid_status) == 16);
static_assert(offsetof(utm_devid_status, unwritten) == 0);
static_assert(offsetof(utm_devid_status, words) == 4);
