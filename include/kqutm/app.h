/*
 * Application control: policies with their application entries, the dump, and the engine's controls and statistics.
 * Usage and time limits belong to a user profile: kqutm/profile.h.
 *
 * How long they may block: an operation that tells the application daemon costs up to 2.1 s while it cannot be reached
 * (22 attempts, 100 ms apart), and up to 10 s while it does not answer; utm_app_policy_config_init_block and
 * utm_app_policy_config_block may cost that for each record they send, but stop at the first that fails.
 * utm_app_policy_create, utm_app_daemon_status and utm_app_get_export_interval ask: they connect once, wait up to 2 s
 * for the first record of the answer, and for each further record without a limit. A daemon that listens without ever
 * accepting blocks a call for as long as its queue of connections is full. Operations that look into the registry also
 * wait for its lock, which has no limit of its own; none of them holds it while it talks to the daemon.
 *
 * What stays allocated: an operation that asks and fails after its request was written leaves the answer (832 bytes)
 * and what it has collected of a list; nobody can release that.
 *
 * Failures are written to UTM_APPCF_LOG. The application daemon defines what the entries, switches, intervals and
 * status values mean; they are passed on unread.
 */
#ifndef KQUTM_APP_H
#define KQUTM_APP_H

#include "common.h"

/* Bytes of an application entry. */
#define UTM_APP_ENTRY_SIZE 8

/* The statistics file that import and export take when they are given none. */
#define UTM_APP_STATISTICS_FILE "/tmp/ApplicationData/app_usage.json"

UTM_BEGIN_DECLARATIONS

/*
 * Creates an application policy in the registry, then in the daemon.
 *
 * id is the identifier to take, or 0 to take one from the clock, as utm_user_profile_create does. The first use after a
 * start of the gateway clears the registry (init_utm_id_shm).
 *
 * Returns the identifier, or -1. When the daemon refuses, the identifier stays in the registry, and asking for the same
 * one again fails: release it with reset_utm_id_shm. errno: EEXIST or ENOSPC where the registry refuses the identifier,
 * or the cause of the failed exchange. An id of 2^31 or more is reserved and then refused with EINVAL; it stays too.
 *
 * List entries that a daemon sends with its answer stay allocated, 24 bytes each, and nobody can release them.
 */
UTM_API int32_t utm_app_policy_create(uint32_t id);

/*
 * Set a policy's application entries: config_init_block empties the policy first, config_block adds to it.
 *
 * entries points to count entries of UTM_APP_ENTRY_SIZE bytes each, sent unchanged, ten to a record. The registry is
 * not asked about id.
 *
 * Return 0 when the daemon accepted every record. The first that fails ends the operation with -1; what was sent before
 * stays. With entries null or a count below 1, config_init_block only empties the policy. With a count below 1,
 * config_block sends nothing and returns 0; entries null with a count of 1 or more is refused (errno EINVAL).
 */
UTM_API int32_t utm_app_policy_config_init_block(uint32_t id, const void* entries, int32_t count);
UTM_API int32_t utm_app_policy_config_block(uint32_t id, const void* entries, int32_t count);

/*
 * Writes the application control's configuration to the file at path, anew: date, the registry's user profiles with
 * their bound application policies, and its application policies; then asks the daemon to append its part. Path,
 * results and lock are those of utm_cf_dump_all.
 */
UTM_API int32_t utm_app_dump_all(const char* path);

/* Hand the daemon a value: the engine's switch, the debug switch, the interval of the statistics' export. Return 0 when
 * it accepted, -1 otherwise. */
UTM_API int32_t utm_app_activate(int32_t value);
UTM_API int32_t utm_app_debug(int32_t value);
UTM_API int32_t utm_app_set_export_interval(int32_t interval);

/*
 * Lets the daemon update its signatures from the file at path. A path of 128 characters or more is cut to 128 and sent
 * without a terminator; callers should refuse it. Returns 0 when the daemon accepted; -1 otherwise, with nothing sent
 * when path is null (errno EINVAL).
 */
UTM_API int32_t utm_app_update_signature(const char* path);

/*
 * Read the daemon's three status values, and the interval of the statistics' export. Return 0, or -1: then the outputs
 * are as they were. Nothing is sent when an output is null (errno EINVAL).
 */
UTM_API int32_t utm_app_daemon_status(uint32_t* first, uint32_t* second, uint32_t* third);
UTM_API int32_t utm_app_get_export_interval(uint32_t* interval);

/*
 * Let the daemon read the statistics from the file at path, or write them to it; null stands for
 * UTM_APP_STATISTICS_FILE. A path has at most 127 characters. Return 0 when the daemon accepted; -1 otherwise, with
 * nothing sent when path is too long (errno EINVAL).
 */
UTM_API int32_t utm_app_import_statistics(const char* path);
UTM_API int32_t utm_app_export_statistics(const char* path);

UTM_END_DECLARATIONS

#endif
