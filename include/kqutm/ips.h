/*
 * The intrusion-prevention engine (IPS): one daemon that listens at UTM_IPS_SOCKET (kqutm/engines.h).
 *
 * How long they may block: each reply may take up to 10 s, and so may each record of a list. A list as a whole has no
 * limit, neither in time nor in memory: it is as long as the daemon makes it. There is no limit on connecting and
 * sending: a daemon that listens without accepting blocks a call for as long as its queue of connections is full.
 *
 * Results: what the daemon answered, unchanged, where 0 is success; -1 also when the library refused an argument or no
 * answer came. errno tells them apart: EREMOTEIO when the daemon refused. A reply that comes short reads as -1.
 *
 * Failures are written to UTM_IPS_LOG, but for one: a list entry that memory is too short for prints "malloc show queue
 * node fail" on standard output, through stdio.
 */
#ifndef KQUTM_IPS_H
#define KQUTM_IPS_H

#include "common.h"

/*
 * Request and reply: 316 bytes. Each field belongs to the operations named beside it; codes in kqutm/engines.h. Only
 * the result of a reply is read, and the rule name of a list entry.
 */
struct utm_ips_message {
    uint32_t code; /* request: an utm_ips_code */
    uint32_t on;   /* activate: 0 off, 1 on */
    uint32_t unread_8;
    uint32_t debug;           /* debug: 0 off, 1 on */
    uint32_t flush_mode;      /* flush: 0 to 2 */
    char rule_id[11];         /* set whitelist or blacklist: up to 10 characters */
    char rule_name[21];       /* reply that carries a list entry: up to 20 characters */
    uint32_t list_action;     /* set whitelist or blacklist: 0 or 1 */
    char signature_path[256]; /* update signature: up to 255 characters */
    int32_t result;           /* reply: 0 done; in a list an utm_ips_list_result */
};

/* An entry of the customize list. */
struct utm_ips_rule {
    struct utm_ips_rule* prev;
    struct utm_ips_rule* next;
    uint8_t unused[16]; /* zero */
    char name[21];      /* up to 20 characters, always terminated */
};

UTM_BEGIN_DECLARATIONS

/* Switches the engine: 0 off, 1 on; anything else is refused with EINVAL. */
UTM_API int32_t utm_ips_activate(uint32_t on);

/*
 * Asks for the engine's status: the daemon's whole reply, whose contents the daemon defines but for the result, where 0
 * is success. The caller releases it with free().
 *
 * Returns null when the daemon could not be asked or memory is short. A daemon that refuses, or does not answer, gives
 * a block all the same: in the latter case with result -1 and errno as told above.
 */
UTM_API struct utm_ips_message* utm_ips_show_status(void);

/*
 * Change the white list and the black list of rules.
 *
 * rule identifies the rule in the daemon's own terms; what is longer than 10 characters is cut. action is 0 or 1, and
 * the daemon defines which is which. Refused with EINVAL: a null rule, another action.
 */
UTM_API int32_t utm_ips_set_whitelist(const char* rule, uint32_t action);
UTM_API int32_t utm_ips_set_blacklist(const char* rule, uint32_t action);

/*
 * Returns the customized rules, as a circular list behind a head of which only the links mean anything: in the order in
 * which the daemon sent them, and a head that points to itself when there is none. The caller releases each entry and
 * the head with free().
 *
 * Returns null when the daemon could not be asked or memory for the head is short. A stream that breaks off, or whose
 * next record takes more than 10 s, gives the entries received until then; so does memory that is too short for an
 * entry, which ends the list. Such a list looks like a whole one: errno alone tells it (kqutm/common.h).
 *
 * A list leaves a line in UTM_IPS_LOG: "Reach maximum customizelist rule number" when the daemon's limit of rules is
 * reached, "recv fail" when receiving failed, and "without white list" when it ended in any other way: the usual one, a
 * record that comes short, and the end of the connection. One that memory ends leaves none.
 */
UTM_API struct utm_ips_rule* utm_ips_show_customizelist(void);

/*
 * Has the daemon load the signature file at path, which is opened by the daemon, not here; what is longer than 255
 * characters is cut. A null path is refused with EINVAL.
 */
UTM_API int32_t utm_ips_update_signature(const char* path);

/* Switches the daemon's debugging: 0 off, 1 on; anything else is refused with EINVAL. */
UTM_API int32_t utm_ips_debug(uint32_t on);

/* Sets the engine back; the daemon defines to what. */
UTM_API int32_t utm_ips_reset(void);

/* Flushes what the daemon defines for mode: 0, 1 or 2; anything else is refused with EINVAL. */
UTM_API int32_t utm_ips_flush(uint32_t mode);

UTM_END_DECLARATIONS

#endif
