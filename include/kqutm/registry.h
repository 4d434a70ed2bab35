/*
 * The ID registry: which user profiles, content-filter policies and application policies exist, and which policies are
 * bound to which profile, in one System V shared memory segment that every process on the gateway sees, under one
 * System V semaphore.
 *
 * To look into the segment: init_utm_id_config_sem, utm_id_config_lock, attach_utm_id_data_shm, read or write,
 * detach_utm_id_data_shm, utm_id_config_unlock. Whatever reserves identifiers calls init_utm_id_shm before.
 *
 * Both keys come from the inode of the installed library and a project number, so every process has to see the same
 * file there. Replacing that file, as an upgrade does, makes new keys and so an empty registry: restart the gateway.
 *
 * The lock has no time limit. The kernel gives back the lock of a process that ends; one that is stopped keeps it.
 * Nobody may take it twice: a thread that holds it and calls what takes it too waits for itself, for ever. Such are
 * get_unique_id, check_shm_utm_id, reset_utm_id_shm, init_utm_id_shm when it clears, and every operation that looks
 * into the registry.
 */
#ifndef KQUTM_REGISTRY_H
#define KQUTM_REGISTRY_H

#include "common.h"

#define UTM_ID_SLOTS 256
#define UTM_ID_MARKER "/tmp/utm_user_profile_shm"
#define UTM_ID_SEGMENT_PROJECT 97
#define UTM_ID_SEMAPHORE_PROJECT 98

/* What an identifier names: the kind of get_unique_id, check_shm_utm_id and reset_utm_id_shm. */
enum utm_id_kind {
    UTM_ID_USER_PROFILE = 1,
    UTM_ID_CF_POLICY = 2,
    UTM_ID_APP_POLICY = 3
};

/*
 * The segment: 5120 bytes. A slot holds an identifier, or 0 while it is free. The two binding arrays run parallel to
 * profiles: slot i holds the policy that is bound to the profile in slot i, or 0.
 */
struct utm_id_registry {
    uint32_t profiles[UTM_ID_SLOTS];
    uint32_t cf_bindings[UTM_ID_SLOTS];
    uint32_t cf_policies[UTM_ID_SLOTS];
    uint32_t app_bindings[UTM_ID_SLOTS];
    uint32_t app_policies[UTM_ID_SLOTS];
};

UTM_BEGIN_DECLARATIONS

/*
 * Returns the identifier of the registry's semaphore set, creating it unlocked (value 1, permissions 0666) when there
 * is none. Negative on failure: no key file, or another process won the race to create it; then call again.
 */
UTM_API int init_utm_id_config_sem(void);

/*
 * Take the registry lock, waiting for it without a limit, and give it back. One semop each, undone by the kernel when
 * the process ends; returns its result, 0 or -1. A signal ends the wait with EINTR: nothing is locked then.
 */
UTM_API int utm_id_config_lock(int semid);
UTM_API int utm_id_config_unlock(int semid);

/*
 * Attaches the segment for reading and writing, creating it all zero (permissions 0666) when there is none. Returns
 * null when it can be neither found nor created. The caller holds the lock, and detaches.
 */
UTM_API struct utm_id_registry* attach_utm_id_data_shm(void);

/* Detaches what attach_utm_id_data_shm returned; null is accepted. Always returns 0. */
UTM_API int detach_utm_id_data_shm(const void* address);

/*
 * Clears the registry once per start of the gateway: does nothing while UTM_ID_MARKER exists, else creates the marker
 * and clears the whole segment under the lock.
 *
 * Returns 0, also when the marker was created but the lock could not be had and nothing was cleared. Returns -1 when
 * the marker cannot be created, or the segment cannot be attached.
 */
UTM_API int init_utm_id_shm(void);

/*
 * Reserves an identifier in the lowest free slot of its kind. Every kind but 1 and 2 counts as 3.
 *
 * id is the identifier to reserve, or 0 for the current time in seconds; while that is taken, the call spins, holding
 * the lock, until the clock shows a free one. The two policy kinds and the profiles are numbered apart.
 *
 * Returns the identifier. Returns -1 when it is taken (errno EEXIST), when all 256 slots are (ENOSPC), or when the
 * registry is out of reach (errno of the system call). Identifiers of 2^31 and more read as negative.
 */
UTM_API int get_unique_id(uint32_t id, uint32_t kind);

/*
 * Tells whether an identifier is registered. Every kind but 1 and 2 counts as 3.
 *
 * Returns 0 when it is, and also when the registry cannot be locked; so does id 0 while the kind has a free slot.
 * Returns -1 when it is not (errno ENOENT, and a line in UTM_APPCF_LOG) or when the segment cannot be attached.
 */
UTM_API int check_shm_utm_id(uint32_t id, uint32_t kind);

/*
 * Releases an identifier. Kind 1 frees a user profile and leaves its slot's bindings as they are; every other kind
 * frees that number both as a content-filter policy and as an application policy.
 *
 * Returns 0, whether or not the identifier was there, and also when the registry cannot be locked and nothing was
 * freed; -1 when the segment cannot be attached.
 */
UTM_API int reset_utm_id_shm(uint32_t id, uint32_t kind);

UTM_END_DECLARATIONS

#endif
