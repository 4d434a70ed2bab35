/*
 * The anti-virus engine (AV): one daemon that listens at UTM_AV_SOCKET (kqutm/engines.h).
 *
 * How long they may block: each reply may take up to 10 s, and so may each record of a list. A list as a whole has no
 * limit, neither in time nor in memory: it is as long as the daemon makes it. There is no limit on connecting and
 * sending: a daemon that listens without accepting blocks a call for as long as its queue of connections is full.
 *
 * Results: what the daemon answered, unchanged, where 0 is success; -1 also when the library refused an argument or no
 * answer came. errno tells them apart: EREMOTEIO when the daemon refused. A reply that comes short reads as -1.
 *
 * Nothing is written to a log. A list that memory is too short for prints "malloc show queue node fail" on standard
 * output, through stdio.
 */
#ifndef KQUTM_AV_H
#define KQUTM_AV_H

#include "common.h"

/*
 * An entry of the whitelist or of the scan cache: 168 bytes, of which each list fills its own texts. The texts are
 * handed over as they came: a cache text that fills its field has no terminator.
 */
struct utm_av_entry {
    struct utm_av_entry* prev;
    struct utm_av_entry* next;
    uint8_t unused_16[16]; /* zero, as all that follows until it is filled */
    char cache_key[33];
    char cache_value[32];
    uint8_t unused_97[31];
    char whitelist_entry[40]; /* up to 33 characters, always terminated */
};

/* The engine's status. The daemon defines what the three words mean. */
struct utm_av_status {
    uint32_t unwritten; /* left as it was */
    uint32_t words[3];
};

UTM_BEGIN_DECLARATIONS

/* Switches the engine: 0 off, 1 on; anything else is refused with EINVAL. */
UTM_API int32_t utm_av_activate(uint32_t on);

/* Switches the daemon's debug output: 0 off, 1 on; anything else is refused with EINVAL. */
UTM_API int32_t utm_av_debug(uint32_t on);

/* Limits the scan cache: 0 to 10, in the daemon's own unit; anything else is refused with EINVAL. */
UTM_API int32_t utm_av_cache_set_max_size(uint32_t limit);

/*
 * Changes the whitelist. operation is 0 or 1, and the daemon defines which is which, and what an entry is. An entry of
 * more than 32 characters is cut to 33, and reaches the daemon without a terminator. Refused with EINVAL: an entry that
 * is null or empty, another operation.
 */
UTM_API int32_t utm_av_set_whitelist(const char* entry, uint32_t operation);

/* Reads the status into out, unless the result is -1. A null out is refused with EINVAL, and nothing is sent. */
UTM_API int32_t utm_av_show_status(struct utm_av_status* out);

/*
 * Return the whitelist and the scan cache, as circular lists behind a head of which only the links mean anything, and
 * which points to itself when there are no entries. The whitelist stands in the order in which the daemon sent it, the
 * cache in reverse. The caller releases each entry and the head with free().
 *
 * Return null when the daemon could not be asked or memory for the head is short. A stream that breaks off, or whose
 * next record takes more than 10 s, gives the entries received until then; so does memory that is too short for an
 * entry, which ends the list. Such a list looks like a whole one: errno alone tells it (kqutm/common.h).
 */
UTM_API struct utm_av_entry* utm_av_show_whitelist(void);
UTM_API struct utm_av_entry* utm_av_show_cache(void);

/* Set the engine back, and flush it; the daemon defines what that means. */
UTM_API int32_t utm_av_reset(void);
UTM_API int32_t utm_av_flush(void);

UTM_END_DECLARATIONS

#endif
