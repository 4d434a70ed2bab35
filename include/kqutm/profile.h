/*
 * User profiles: a profile is a set of devices, known by their MAC addresses, that gets one content-filter policy and
 * one application policy bound to it. It stands in four places at once: in the ID registry (kqutm/registry.h) and in
 * the content-filter, application and user-profile daemons. The operations here keep the four in step.
 *
 * How long they may block: each daemon costs up to 2.1 s while it cannot be reached (22 attempts, 100 ms apart), and
 * up to 10 s while it does not answer. Creating, deleting and changing devices tell three daemons, binding and setting
 * limits one. The operations that read or reset something, or get a list, ask one daemon: they connect once, wait up to
 * 2 s for the first record of the answer, and for each further record without a limit. A daemon that listens without
 * ever accepting blocks a call for as long as its queue of connections is full. To that comes the wait for the registry
 * lock, which has no limit of its own, in creating, deleting, binding, changing devices, the mapping and the flush:
 * utm_user_profile_delete holds the lock across its three exchanges.
 *
 * What stays allocated: a reading that fails after its request was written leaves the answer (832 bytes) and what it
 * has collected of a list; nobody can release that. A reading of values that succeeds, and
 * utm_user_profile_reset_extended, leave the list that came with the answer: 24 bytes, and 24 more for each entry the
 * daemon sent.
 *
 * Failures are written to UTM_APPCF_LOG. Nothing that a daemon accepted is taken back when another one refuses.
 */
#ifndef KQUTM_PROFILE_H
#define KQUTM_PROFILE_H

#include "common.h"

UTM_BEGIN_DECLARATIONS

/*
 * Creates a user profile in the registry, then in the content-filter, user-profile and application daemon, in this
 * order; all three are told whatever the others answered.
 *
 * id is the identifier to take, or 0 to take one from the clock: the current time in seconds, or the next second that
 * is not taken yet, for which the call spins, holding the registry lock, for about a second. The first use after a
 * start of the gateway clears the registry (init_utm_id_shm).
 *
 * Returns the identifier when the application daemon accepted, -1 otherwise. Each refusal releases the identifier in
 * the registry. So when only the content-filter or the user-profile daemon refused, the identifier is returned although
 * it is not registered any more: check_shm_utm_id tells.
 *
 * errno on failure: EEXIST or ENOSPC where the registry refuses the identifier, or the cause of the failed exchange
 * with the application daemon. An id below 0 is reserved and then refused with EINVAL; it stays in the registry.
 */
UTM_API int32_t utm_user_profile_create(int32_t id);

/*
 * Deletes a user profile in the content-filter, application and user-profile daemon, in this order; all three are told.
 *
 * When the content-filter daemon accepts, the bound content-filter policy is freed in the registry, and the profile
 * with it; when the application daemon accepts, the bound application policy, and the profile with it. One of the two
 * is enough to free the profile's slot. The registry lock is held until the last daemon has answered.
 *
 * Returns 0 when the user-profile daemon accepted, and -1 otherwise. Nothing is sent when the registry is out of reach
 * or does not know id (errno ENOENT, as for a missing socket). id 0 names the first free slot and is sent: callers
 * should refuse it.
 */
UTM_API int32_t utm_user_profile_delete(int32_t id);

/*
 * Adds a device to a user profile, or takes it away, in the content-filter, application and user-profile daemon, in
 * this order; all three are told.
 *
 * mac points to the 6 raw bytes of the device's MAC address, sent unchanged. id has to be in the registry, but a
 * registry that cannot be locked does not stop the operation.
 *
 * Returns 0 when the user-profile daemon accepted, whatever the other two answered; -1 otherwise. Nothing is sent when
 * id is not registered (errno ENOENT, as for a missing socket) or mac is null (EINVAL).
 */
UTM_API int32_t utm_user_profile_add_dev(int32_t id, const uint8_t* mac);
UTM_API int32_t utm_user_profile_del_dev(int32_t id, const uint8_t* mac);

/*
 * Deletes every user profile that the registry holds, in slot order, each as utm_user_profile_delete does; what the
 * daemons answer is not reported.
 *
 * Returns 0, also when the registry cannot be locked and nothing was deleted; -1 only when the locked registry cannot
 * be attached.
 */
UTM_API int32_t utm_user_profile_flush(void);

/*
 * Bind a content-filter or an application policy to a user profile, in the registry and then in the daemon that holds
 * the policy. A policy that was bound before is bound no more, but is not freed.
 *
 * Return 0 when the daemon accepted; -1 otherwise. Nothing happens when profile or policy is not registered (errno
 * ENOENT, as for a missing socket). When the daemon refuses, the binding stays in the registry. When the registry
 * cannot be locked or unlocked, nothing is sent and 0 is returned.
 *
 * Each call leaves the segment attached once more: 5120 bytes of address space until the process ends.
 */
UTM_API int32_t utm_user_profile_add_cf_policy(int32_t profile, int32_t policy);
UTM_API int32_t utm_user_profile_add_app_policy(uint32_t profile, uint32_t policy);

/*
 * The profile mapping: which content-filter policy is bound to which user profile, as the registry has it. The list is
 * circular behind a head whose two identifiers mean nothing, in the order of the registry's slots.
 */
struct utm_profile_mapping {
    struct utm_profile_mapping* prev;
    struct utm_profile_mapping* next;
    int32_t profile_id;
    int32_t cf_policy_id; /* 0: none */
};

/*
 * Returns the mapping of all user profiles, which the caller releases with utm_free_profile_mapping_list. Clears the
 * registry on the first use after a start of the gateway (init_utm_id_shm).
 *
 * Returns null when there is no user profile (errno 0), and on failure; a registry that cannot be unlocked gives the
 * list all the same, if need be empty. Nothing is written to the log.
 *
 * When memory runs out, a line is printed to standard output, and the registry stays attached, and locked until the
 * process ends: what there is of the list is returned, or null. The process should end then.
 */
UTM_API struct utm_profile_mapping* dump_utm_profile_mapping(void);

/*
 * Returns a node with both identifiers 0 and its links unset; null, with a line on standard output, without memory. The
 * caller releases it with free(), or links it into a mapping.
 */
UTM_API struct utm_profile_mapping* create_profile_mapping_node(void);

/* Releases every node of a mapping and its head; null is accepted. */
UTM_API void utm_free_profile_mapping_list(struct utm_profile_mapping* head);

/*
 * Resets user profiles, content filter and application control: deletes all profiles (utm_user_profile_flush), flushes
 * the filter with type 0 (utm_cf_global_flush), switches off both engines of the filter, safe browsing first, and then
 * the application engine, and removes the filter's three state files.
 *
 * Returns 0, or -1 at the first of these that fails: what was done stays done, the rest is left out, and so is the
 * removal of the files. A profile that a daemon refuses to delete is no failure.
 *
 * Blocks for as long as its operations together: three exchanges for each profile, and four; and up to 10 s for an
 * earlier command that the content-filter daemon has not taken (kqutm/cf.h). That can be 20 s: where the category
 * engine is on and the filter's marker is missing, the filter is first commanded on and then off. To that come the
 * waits for the registry lock and for the lock of the command file, which have no limit.
 */
UTM_API int32_t utm_user_profile_cf_app_policy_reset(void);

/*
 * Response lists: what the reading operations return.
 *
 * Each list is circular and doubly linked behind a head of the entry's own type, of which only the links mean anything.
 * An empty list is a head whose links point to itself. Entries stand in the order in which the daemon sent them.
 *
 * A link points to the links of its neighbour. In three of the four entries the links come first, so that a link is
 * also the address of its entry; in utm_domain_browse_entry they come last, so step back from them:
 *
 *     for (struct utm_list_links *at = head->links.next; at != &head->links; at = at->next) {
 *         struct utm_domain_browse_entry *entry =
 *             (struct utm_domain_browse_entry *)((char *)at - offsetof(struct utm_domain_browse_entry, links));
 *     }
 */
struct utm_list_links {
    struct utm_list_links* next;
    struct utm_list_links* prev;
};

/* The application daemon defines what the two values mean. */
struct utm_app_usage_entry {
    struct utm_list_links links;
    uint32_t first_value;
    uint32_t second_value;
};

/* The application daemon defines what the two values mean. */
struct utm_weekday_limit_entry {
    struct utm_list_links links;
    uint32_t first_value;
    uint32_t second_value;
};

/* The application daemon defines the figures. */
struct utm_app_usage_prev_days_entry {
    struct utm_list_links links;
    uint32_t app_id;
    uint8_t per_day_figures[124];
};

/* A domain that fills its field may lack a terminator. The content-filter daemon defines the value. */
struct utm_domain_browse_entry {
    char domain[512];
    uint32_t value;
    struct utm_list_links links;
};

/*
 * Release every entry of a list and its head; null is accepted. There is none for the domain browse list: its receiver
 * releases each entry and the head with free().
 */
UTM_API void utm_user_profile_free_app_usage_list(struct utm_app_usage_entry* head);
UTM_API void utm_user_profile_free_weekday_limit_list(struct utm_weekday_limit_entry* head);
UTM_API void utm_user_profile_free_app_usage_prev_days_list(struct utm_app_usage_prev_days_entry* head);

/*
 * Usage and time limits of a user profile, kept by the application daemon. Nothing is checked: profile does not have to
 * be registered. The daemon defines the units and ranges of limits and extension, the numbering of weekdays, the second
 * argument of the two usage lists, and what the three usage figures are.
 *
 * The functions that set return 0 when the daemon accepted, -1 otherwise. Those that get a value return 0, or -1: then
 * the outputs are as they were. Nothing is sent when an output is null (errno EINVAL). What a reading leaves allocated
 * is told at the top.
 */
UTM_API int32_t utm_user_profile_set_daily_limit_enable(uint32_t profile, int32_t enable);
UTM_API int32_t utm_user_profile_get_daily_limit_enable(uint32_t profile, uint32_t* enable);
UTM_API int32_t utm_user_profile_set_daily_limit(uint32_t profile, int32_t limit);
UTM_API int32_t utm_user_profile_get_daily_limit(uint32_t profile, uint32_t* limit);
UTM_API int32_t utm_user_profile_set_weekday_daily_limit(uint32_t profile, int32_t weekday, int32_t limit);
UTM_API int32_t utm_user_profile_set_extended(uint32_t profile, int32_t extension);
UTM_API int32_t utm_user_profile_get_extended(uint32_t profile, uint32_t* extension);
UTM_API int32_t utm_user_profile_get_usage(uint32_t profile, uint32_t* first, uint32_t* second, uint32_t* third);

/* Takes the extension back. Returns 0 when the daemon accepted, -1 otherwise. Asks, as the functions that get do. */
UTM_API int32_t utm_user_profile_reset_extended(uint32_t profile);

/*
 * Get a list from the application daemon, which the caller releases with the function for its type above. Return null
 * on failure; a profile for which there is nothing gives an empty list.
 */
UTM_API struct utm_weekday_limit_entry* utm_user_profile_get_weekday_daily_limit(uint32_t profile);
UTM_API struct utm_app_usage_entry* utm_user_profile_get_app_usage(uint32_t profile, uint32_t argument);
UTM_API struct utm_app_usage_prev_days_entry* utm_user_profile_get_app_usage_prev_days(uint32_t profile,
                                                                                       uint32_t argument);

/*
 * Gets the domains that a user profile's devices have browsed from the content-filter daemon. The caller releases each
 * entry and the head with free(). Returns null on failure; no domains give an empty list. profile does not have to be
 * registered.
 */
UTM_API struct utm_domain_browse_entry* utm_user_profile_get_browse_domain_list(int32_t profile);

UTM_END_DECLARATIONS

#endif
