/*
 * The IR threat database: one daemon that listens at UTM_IR_SOCKET (kqutm/engines.h), a sequenced-packet socket.
 *
 * How long they may block: without a limit, as long as the daemon takes. A list has no limit in memory either: it is as
 * long as the daemon makes it.
 *
 * Results: 0 when the daemon accepted, -1 otherwise; errno tells a refusal (EREMOTEIO) from the rest. The two switches
 * tell more: see utm_ir_activate. A reply that comes short is a refusal with EPROTO.
 *
 * Descriptor 0 counts as a failed connection, with EBADF: in a program that has closed its standard input, the first
 * operation fails so. Its connection stays open as descriptor 0; the operations after it get others, and succeed,
 * unless the daemon serves one client at a time and waits for the first: then they wait as well. Keep standard input
 * open.
 *
 * Nothing is written to a log. Failures print a line on standard output, through stdio: "open domain socket failed",
 * "connect failed", "send failed", "recv failed" and "malloc failed".
 */
#ifndef KQUTM_IR_H
#define KQUTM_IR_H

#include "common.h"

/* Failures of the two switches. */
enum utm_ir_switch_result {
    UTM_IR_REFUSED = -1,       /* by the daemon */
    UTM_IR_BAD_ARGUMENT = -2,  /* neither 0 nor 1; nothing is sent */
    UTM_IR_NO_CONNECTION = -3, /* the daemon is out of reach */
    UTM_IR_NO_EXCHANGE = -4    /* the daemon could not be asked, or did not answer */
};

/* An entry of the whitelist or the blacklist: 24 bytes. The daemon defines what the two values mean. */
struct utm_ir_entry {
    struct utm_ir_entry* prev;
    struct utm_ir_entry* next;
    uint32_t value;
    uint16_t second_value;
};

UTM_BEGIN_DECLARATIONS

/* Switch the engine, and its debugging: 0 off, 1 on. Return 0 or an utm_ir_switch_result. */
UTM_API int32_t utm_ir_activate(int32_t on);
UTM_API int32_t utm_ir_debug(int32_t on);

/* Limits the size of the database, in megabytes. 0 is refused with EINVAL; a negative size is sent. */
UTM_API int32_t utm_ir_db_set_max_size_mb(int32_t size);

/* Sets how often the daemon looks for updates, in the daemon's own unit. */
UTM_API int32_t utm_ir_db_set_update_check_freq(uint32_t value);

/* Selects threat categories; the daemon defines the value. */
UTM_API int32_t utm_ir_db_set_threat_category(uint32_t value);

/*
 * Change the whitelist and the blacklist. operation is 0 or 1, and the daemon defines which is which, and what the two
 * values mean. Another operation is refused with EINVAL.
 */
UTM_API int32_t utm_ir_db_set_whitelist(uint32_t value, uint16_t second_value, int32_t operation);
UTM_API int32_t utm_ir_db_set_blacklist(uint32_t value, uint16_t second_value, int32_t operation);

/*
 * Flushes in up to two steps over one connection: mode 0 both, 1 the first alone, 2 the second alone; the daemon
 * defines what each clears. When the first is refused, the second is not sent. A mode of 3 or more is refused with
 * EINVAL.
 */
UTM_API int32_t utm_ir_flush(uint32_t mode);

/*
 * Flushes with mode 0, then switches the engine off. Returns the result of the first step that failed (-1 of the flush,
 * or an utm_ir_switch_result), or 0. When the flush fails the engine stays as it is.
 */
UTM_API int32_t utm_ir_reset(void);

/*
 * Return the whitelist and the blacklist, as circular lists behind a head of which only the links mean anything: in the
 * order in which the daemon sent them, and a head that points to itself when there are no entries. The caller releases
 * each entry and the head with free().
 *
 * Return null when the daemon could not be asked or memory for the head is short. A stream that breaks off gives the
 * entries received until then; so does memory that is too short for an entry, which ends the list and prints nothing.
 * Such a list looks like a whole one: errno alone tells it (kqutm/common.h).
 */
UTM_API struct utm_ir_entry* utm_ir_db_get_whitelist(void);
UTM_API struct utm_ir_entry* utm_ir_db_get_blacklist(void);

/*
 * Has the daemon load the database file at path, which is opened by the daemon, not here. A path of 128 characters or
 * more is cut to 128, and reaches the daemon without a terminator. A null path is refused with EINVAL.
 */
UTM_API int32_t utm_ir_load_db(const char* path);

/*
 * Returns the version of the database as text, three numbers with dots between them such as "2.1.15", in a block of 128
 * bytes that the caller releases with free(); "none" for a version of 0.x.0 whose x is not 0. Returns null when the
 * daemon refused or did not answer, or memory is short.
 */
UTM_API char* utm_ir_show_db_status(void);

UTM_END_DECLARATIONS

#endif
