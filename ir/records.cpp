// The records of the IR channel as the compiler lays them out: the daemon reads them at these offsets.

#include "kqutm/engines.h"

#include <cstddef>

static_assert(sizeof(utm_ir_request) == 132);
static_assert(offsetof(utm_ir_request, code) == 0);
static_assert(offsetof(utm_ir_request, body.path) == 4);
static_assert(offsetof(utm_ir_request, body.entry.value) == 4);
static_assert(offsetof(utm_ir_request, body.entry.second_value) == 8);

static_assert(sizeof(utm_ir_reply) == 16);
static_assert(offsetof(utm_ir_reply, status) == 0);
static_assert(offsetof(utm_ir_reply, version) == 4);

static_assert(sizeof(utm_ir_list_record) == 16);
static_assert(offsetof(utm_ir_list_record, end) == 0);
static_assert(offsetof(utm_ir_list_record, value) == 4);
static_assert(offsetof(utm_ir_list_record, second_value) == 8);
static_assert(offsetof(utm_ir_list_record, unread_10) == 10);

static_assert(sizeof(utm_ir_entry) == 24);
static_assert(offsetof(utm_ir_entry, prev) == 0);
static_assert(offsetof(utm_ir_entry, next) == 8);
static_assert(offsetof(utm_ir_entry, value) == 16);
static_assert(offsetof(utm_ir_entry, second_value) == 20);
