/*
 * Content filtering: policies with their category blocks and text lists, the global URL lists, the filter's two engines
 * and the kernel switches behind them, the redirect page, dumps, debug and flushes.
 *
 * How long they may block: an operation that tells the content-filter daemon costs up to 2.1 s while it cannot be
 * reached (22 attempts, 100 ms apart), and up to 10 s while it does not answer; a daemon that listens without ever
 * accepting blocks the call for as long as its queue of connections is full. Operations that look into the registry
 * also wait for its lock, which has no limit of its own; utm_user_profile_delete holds it across three exchanges.
 * None of the operations here holds the registry lock while it talks to the daemon. What switching and dumping add is
 * told there.
 *
 * Failures are written to UTM_APPCF_LOG. The content-filter daemon defines what the category block, the flush types and
 * the debug value mean; they are passed on unread.
 */
#ifndef KQUTM_CF_H
#define KQUTM_CF_H

#include "common.h"

/* The state of the two engines and of the filter as a whole, which is on while its marker exists. */
#define UTM_CF_WEB_SAFE_BROWSING_FILE "/tmp/web_safe_browsing_activate"
#define UTM_CF_WEB_CATEGORY_FILE "/tmp/web_category_activate"
#define UTM_CF_MARKER "/tmp/cf_activate"

/* The kernel's switches: mode as a decimal number, "yes" or "no", and the text of the redirect page. */
#define UTM_CF_KERNEL_ENABLE "/proc/net/cfilter_enable"
#define UTM_CF_KERNEL_HDF_ENABLE "/proc/net/cfilter_hdf_enable"
#define UTM_CF_KERNEL_REDIRECT_URL "/proc/net/cfilter_redirect_url"

/* Bytes of a policy's category block. */
#define UTM_CF_BLOCK_SIZE 128

UTM_BEGIN_DECLARATIONS

/*
 * Creates a content-filter policy in the registry, then in the daemon.
 *
 * id is the identifier to take, or 0 to take one from the clock, as utm_user_profile_create does. The first use after a
 * start of the gateway clears the registry (init_utm_id_shm).
 *
 * Returns the identifier, or -1. When the daemon refuses, the number is released in the registry both as a
 * content-filter and as an application policy. errno: EEXIST or ENOSPC where the registry refuses the identifier, or
 * the cause of the failed exchange. An id below 0 is reserved and then refused with EINVAL; it stays in the registry.
 */
UTM_API int32_t utm_cf_policy_create(int32_t id);

/*
 * Sets a policy's category block. block points to UTM_CF_BLOCK_SIZE bytes, sent unchanged.
 *
 * Returns 0 when the daemon accepted; -1 otherwise. Nothing is sent when id is not registered (errno ENOENT, as for a
 * missing socket) or block is null (EINVAL). A registry that cannot be locked does not stop the operation.
 */
UTM_API int32_t utm_cf_policy_config_block(int32_t id, const void* block);

/*
 * Add a URL to the global list of trusted or forbidden URLs, or take it away.
 *
 * url has at most 2047 characters and may be empty; it is sent as given. Returns 0 when the daemon accepted; -1
 * otherwise, with nothing sent when url is too long or null (errno EINVAL). A refusal by the daemon is not logged.
 */
UTM_API int32_t utm_cf_add_trusted_url(const char* url);
UTM_API int32_t utm_cf_del_trusted_url(const char* url);
UTM_API int32_t utm_cf_add_forbidden_url(const char* url);
UTM_API int32_t utm_cf_del_forbidden_url(const char* url);

/*
 * Add a domain or keyword to a policy's list, or take it away.
 *
 * The registry is not asked about policy: any value is sent. text has at most 511 characters and may be empty; it is
 * sent as given. Returns 0 when the daemon accepted; -1 otherwise, with nothing sent when text is too long or null
 * (errno EINVAL). A refusal by the daemon is not logged.
 */
UTM_API int32_t utm_cf_policy_add_trusted_domain(int32_t policy, const char* text);
UTM_API int32_t utm_cf_policy_del_trusted_domain(int32_t policy, const char* text);
UTM_API int32_t utm_cf_policy_add_forbidden_domain(int32_t policy, const char* text);
UTM_API int32_t utm_cf_policy_del_forbidden_domain(int32_t policy, const char* text);
UTM_API int32_t utm_cf_policy_add_domain_keyword(int32_t policy, const char* text);
UTM_API int32_t utm_cf_policy_del_domain_keyword(int32_t policy, const char* text);

/*
 * Switch one of the filter's two engines: 0 is off, every other value on.
 *
 * In this order: the value is written to the engine's file, the filter as a whole follows (utm_cf_activate), and the
 * daemon is told the value. Returns 0 when the daemon accepted; -1 otherwise. Nothing is sent when utm_cf_activate
 * fails. Nothing is taken back: the file, and the filter's state, hold the new value after every failure.
 *
 * The engine's file keeps the whole value, but is read by its first three characters: keep to 0 and 1.
 */
UTM_API int32_t utm_cf_web_safe_browsing_activate(int32_t value);
UTM_API int32_t utm_cf_web_category_activate(int32_t value);

/*
 * Makes the filter as a whole follow its engines: on while one of the engine files holds a number other than 0. When
 * that differs from the state that UTM_CF_MARKER records, __utm_cf_activate is called and the marker created or
 * removed; otherwise nothing happens. A missing file counts as off.
 *
 * Returns 0, or -1 when an engine file is there but cannot be opened (errno of the open). Callers in several processes
 * are not kept apart: two that switch at once may both switch the kernel and command the daemon.
 */
UTM_API int32_t utm_cf_activate(void);

/*
 * Switches the kernel, and commands the daemon: mode 0 is off, 1 on. Every other mode is written to the kernel as on,
 * but commands the daemon to switch off. For utm_cf_activate; the state files are not looked at.
 *
 * The daemon is commanded through UTM_CF_COMMAND_FILE and a hang-up signal, when UTM_CF_PID_FILE names a process. A
 * command that the daemon has not taken yet is waited for, for up to 10 s, and is then removed. The lock of the command
 * file is waited for without a limit.
 *
 * Always returns 0: whether kernel or daemon followed is not looked at.
 */
UTM_API int32_t __utm_cf_activate(int32_t mode);

/*
 * Appends the kernel's two switches to the text file at path, with a heading before and an empty line after them. For
 * utm_cf_dump_all.
 *
 * path reaches a shell unquoted four times: it must not come from outside. A command of 2048 characters or more is cut.
 */
UTM_API void dump_cf_activate(const char* path);

/*
 * Sets the page that blocked requests are redirected to.
 *
 * text has at most 1023 characters and is written to the kernel without terminator; an empty text writes one zero byte.
 * Returns 0, whether or not the kernel took it; -1 when text is too long or null (errno EINVAL), or the kernel's file
 * cannot be opened. The daemon is not told. A descriptor 0 that the file gets is left open.
 */
UTM_API int32_t utm_cf_redirect_page(const char* text);

/*
 * Writes the content filter's configuration to the file at path, anew: date, kernel switches, the registry's user
 * profiles with their bound content-filter policies, and its content-filter policies; then asks the daemon to append
 * its part.
 *
 * path has at most 127 characters. It reaches a shell unquoted: it must not come from outside. Make it absolute; the
 * daemon opens it too.
 *
 * Returns 0 when the daemon accepted, and -1 otherwise: errno EINVAL when path is too long or null, the cause when the
 * registry cannot be cleared on its first use. When the registry cannot be locked, attached or unlocked, the file ends
 * there, nothing is sent, and 0 is returned.
 *
 * The registry lock is held while one short shell command runs for each profile and policy: up to 514 of them.
 */
UTM_API int32_t utm_cf_dump_all(const char* path);

/* Hands the daemon a debug value. Returns 0 when it accepted, -1 otherwise. */
UTM_API int32_t utm_cf_debug(int32_t value);

/* Flushes the whole content filter. Returns 0 when the daemon accepted, -1 otherwise. */
UTM_API int32_t utm_cf_global_flush(int32_t type);

/*
 * Flushes one policy, or with policy 0 whatever the daemon takes that for. Returns 0 when the daemon accepted, -1
 * otherwise. Nothing is sent when policy is neither 0 nor registered (errno ENOENT, as for a missing socket); a
 * registry that cannot be locked does not stop the operation.
 */
UTM_API int32_t utm_cf_policy_flush(int32_t type, int32_t policy);

UTM_END_DECLARATIONS

#endif
