/*
 * User profiles: a profile is a set of devices, known by their MAC addresses, that gets one content-filter policy and
 * one application policy bound to it. It stands in four places at once: in the ID registry (kqutm/registry.h) and in
 * the content-filter, application and user-profile daemons. The operations here keep the four in step.
 *
 * How long they may block: each daemon costs up to 2.1 s while it cannot be reached (22 attempts, 100 ms apart), and
 * up to 10 s while it does not answer; every operation but the flush tells three daemons. A daemon that listens without
 * ever accepting blocks a call for as long as its queue of connections is full. To that comes the wait for the registry
 * lock, which has no limit of its own: utm_user_profile_delete holds it across its three exchanges.
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

UTM_END_DECLARATIONS

#endif
