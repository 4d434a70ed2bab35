/*
 * Conventions of the UTM client library, the diagnostic log, and what every family shares.
 *
 * Conventions
 *   - Every function is one synchronous operation on the caller's thread. Nothing is kept between calls, no thread
 *     is started, nothing has to be initialised first, and any function may be called from any thread or process.
 *   - 32-bit results: 0 (or an identifier) is success, -1 failure. Functions that return memory return null on failure.
 *   - On failure errno tells the cause; logging and clean-up never change it:
 *       EINVAL      an argument the library refuses
 *       ENOENT      an identifier that is not registered
 *       EEXIST      a requested identifier that is taken
 *       ENOSPC      256 identifiers of the kind are registered
 *       EREMOTEIO   the daemon refused
 *       ETIMEDOUT   no answer in time
 *       ENODATA     the daemon ended the connection instead of answering
 *       EPROTO      a record that is too short, or none that belongs here
 *       EINTR       a wait that has a time limit was ended by a signal, or by the end of a shell command that another
 *                   thread of the process ran for a log; whether the daemon acted is not known
 *       other       the errno of the system call that failed
 *     A failed system call may give one of the numbers above as well: ENOENT where the daemon's socket or the
 *     library's installed file is missing, EEXIST and ENOSPC from System V. check_shm_utm_id tells whether an
 *     identifier is registered. ECONNREFUSED: nobody listens on the daemon's socket. On success errno means nothing,
 *     with two exceptions. For the lists of the engines, ETIMEDOUT, ENODATA, EPROTO, EINTR, ECONNRESET or ENOMEM tells
 *     that a list is not whole. For utm_devid_get_latest_timestamp, 0 tells that a timestamp of 0 is the daemon's.
 *   - Records and lists that a function returns are the caller's, who releases them as the function tells.
 *   - Meanings that a daemon defines are named as such; the library passes those values through unread.
 *   - No function raises SIGPIPE, and every descriptor is close-on-exec.
 *   - Descriptor 0: a connection to a config daemon that gets descriptor 0, because the caller closed it, stays open.
 *
 * Files
 *   /tmp/utm_log/                    the diagnostic logs; a log above 5 MiB becomes NAME2, the one older generation
 *   /tmp/utm_user_profile_shm        marker: the ID registry has been cleared since the gateway started
 *   /usr/lib/libkqutm.so             the library itself; its inode makes the System V keys of registry and UUID
 */
#ifndef KQUTM_COMMON_H
#define KQUTM_COMMON_H

#include <stdint.h>

#ifdef __cplusplus
#define UTM_BEGIN_DECLARATIONS extern "C" {
#define UTM_END_DECLARATIONS }
#else
#define UTM_BEGIN_DECLARATIONS
#define UTM_END_DECLARATIONS
#endif

#if defined(__GNUC__)
#define UTM_API __attribute__((visibility("default")))
#define UTM_PRINTF(format_argument, first_value) __attribute__((format(printf, format_argument, first_value)))
#else
#define UTM_API
#define UTM_PRINTF(format_argument, first_value)
#endif

/* The diagnostic logs, by family. */
#define UTM_IPS_LOG "/tmp/utm_log/utm_libips_log"
#define UTM_DEVID_LOG "/tmp/utm_log/utm_libdevid_log"
#define UTM_APPCF_LOG "/tmp/utm_log/utm_libappcf_config_log"
#define UTM_COMMON_LOG "/tmp/utm_log/utm_libkqutm_common_log"

UTM_BEGIN_DECLARATIONS

/*
 * Appends one message to the log file at path, in a single write, creating folder and file where they are missing.
 *
 * path is one of the log files above. It reaches a shell unquoted when the file has to be created or rotated, so it
 * must not come from outside. format and its values are those of printf; no newline is added.
 *
 * A file strictly larger than 5,242,880 bytes is first renamed to path with "2" appended, replacing an older one; the
 * test comes before the write, so the message that crosses the limit still goes into the old file.
 *
 * Never fails as far as the caller can tell: a message that cannot be written is lost, and errno stays as it was.
 * Creating and rotating run up to three short shell commands; otherwise nothing blocks.
 */
UTM_API void utm_log(const char* path, const char* format, ...) UTM_PRINTF(2, 3);

/*
 * The device UUID: one text that every process on the gateway sees, in a System V segment of its own, the common
 * segment, under a semaphore of its own. It lives until the gateway restarts. Its keys are made as those of the
 * registry (kqutm/registry.h), with the same consequence for an upgrade.
 */
#define UTM_UUID_SIZE 256 /* bytes of the segment: 255 characters and a zero byte */
#define UTM_COMMON_SEGMENT_PROJECT 113
#define UTM_COMMON_SEMAPHORE_PROJECT 106

/*
 * Stores uuid, a text of up to 255 characters; an empty text means that there is none. Any other text is accepted.
 *
 * Returns 0, also when the lock cannot be given back. Returns -1 when the text is null or too long (errno EINVAL; too
 * long: with a line in UTM_COMMON_LOG), or when the segment cannot be locked or attached. Waits for the lock without a
 * limit.
 */
UTM_API int32_t utm_uuid_set(const char* uuid);

/*
 * Copies the UUID with its zero byte into buffer.
 *
 * BUFFER MUST HOLD 256 BYTES (UTM_UUID_SIZE), WHATEVER SIZE SAYS: size is refused when it is above 256 and is not used
 * for anything else. A smaller buffer is overrun by a long UUID.
 *
 * Returns 0 when there is a UUID. Returns -1 with an empty text in buffer and errno 0 when there is none; -1 when size
 * is above 256 or buffer is null (EINVAL), or the segment cannot be locked, attached or unlocked. Waits for the lock
 * without a limit.
 */
UTM_API int32_t utm_uuid_get(char* buffer, int size);

/*
 * The common segment itself, for who looks into it: get the semaphore, lock, attach, read or write, detach, unlock.
 * They work as their counterparts in kqutm/registry.h. The address is that of UTM_UUID_SIZE bytes, or null.
 */
UTM_API int init_utm_common_sem(void);
UTM_API int utm_commoc_lock(int semid);
UTM_API int utm_commoc_unlock(int semid);
UTM_API void* attach_utm_common_data_shm(void);
UTM_API int detach_utm_common_data_shm(const void* address);

/* Exists while the gateway's programs are to record debug events. Empty. */
#define UTM_DEBUG_EVENT_FILE "/tmp/utm_debug_event_log"

/*
 * Switches the recording of debug events on (on is not 0) or off: creates UTM_DEBUG_EVENT_FILE by a shell command, or
 * removes it. Always returns 0; whether it worked shows in the file alone.
 */
UTM_API int32_t utm_notify_debug(int on);

/*
 * Runs command in a shell and puts what it prints on standard output into out, a buffer of out_size bytes, as a text
 * that always fits with its zero byte. Blocks until the command ends.
 *
 * A buffer of up to 128 bytes gets the first line alone, and no more than 127 characters of it. A larger one gets line
 * after line (or piece after piece of 127 characters of a longer line). The line read when fewer than 128 bytes are
 * left is the last, cut where the buffer ends; the rest is discarded. When strip_newline is not 0, one newline at the
 * end of the text is removed.
 *
 * Nothing is reported. out stays as it is when command or out is null, out_size is below 1, or no process can be
 * started; a command that prints nothing leaves an empty text. command is run as it is: never build it from what comes
 * from outside.
 */
UTM_API void utm_getSystemCommandResult(const char* command, char* out, int out_size, int strip_newline);

UTM_END_DECLARATIONS

#endif
