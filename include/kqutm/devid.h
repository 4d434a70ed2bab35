/*
 * The device-identification engine (devid): one daemon that listens at UTM_DEVID_SOCKET (kqutm/engines.h) and keeps the
 * table of the devices on the home network.
 *
 * How long they may block: connecting, sending, and each reply take up to 3 s each, and so does each record of a list.
 * A list as a whole has no limit, neither in time nor in memory: it is as long as the daemon makes it.
 *
 * Results: what the daemon answered, unchanged; -1 also when the library refused an argument or no answer came. errno
 * tells them apart: EREMOTEIO when the daemon refused. A reply that comes short reads as -1. Which answers mean a
 * refusal is told by each operation; every other result is the daemon's way to say yes.
 *
 * Failures are written to UTM_DEVID_LOG.
 */
#ifndef KQUTM_DEVID_H
#define KQUTM_DEVID_H

#include "common.h"

/* The kind of the gateway itself; the daemon defines the others. */
#define UTM_DEVICE_KIND_GATEWAY 2

/*
 * A device as the daemon describes it: 352 bytes, handed over as they came. A text that fills its field may lack a
 * terminator. The regions without a name belong to the daemon, which defines their layout.
 */
struct utm_device_record {
    char mac[32]; /* as text */
    uint8_t daemon_32[65];
    char name[64];
    char ip[16]; /* as text */
    char interface_name[16];
    char type_name[64];
    uint8_t daemon_257[75];
    uint32_t kind;
    uint8_t daemon_336[16];
};

/* An entry of the device list. */
struct utm_device {
    struct utm_device* prev;
    struct utm_device* next;
    struct utm_device_record record;
};

/* The engine's status. The daemon defines what the three words mean. */
struct utm_devid_status {
    uint32_t unwritten; /* left as it was */
    uint32_t words[3];
};

UTM_BEGIN_DECLARATIONS

/*
 * Return the devices that the daemon knows: all, those with an IP address, those on an interface, or those with a MAC
 * address, each given as text. What is longer than the daemon's field is cut: 15 characters of an IP address or an
 * interface name, 31 of a MAC address. The texts must not be null.
 *
 * The list is circular, behind a head of which only the links mean anything, in the order in which the daemon sent the
 * devices; the caller releases it with utm_devid_free_device_list. A device for which memory is short is left out.
 *
 * Returns null when there are no devices (errno 0; ENOMEM when they were all left out), and on failure. A stream that
 * breaks off, or whose next record takes more than 3 s, gives the devices received until then, or null. A list that
 * lacks devices looks like a whole one: errno alone tells it (kqutm/common.h).
 *
 * When the daemon ends the list without a device for an IP address that is one of the gateway's own, that query returns
 * one record that stands for the gateway: name "HomeGW", type "Gateway", kind UTM_DEVICE_KIND_GATEWAY, the rest zero.
 * The address is compared as text. Each address looked at leaves a line in UTM_DEVID_LOG.
 */
UTM_API struct utm_device* utm_devid_get_device_list(void);
UTM_API struct utm_device* utm_devid_get_device_list_by_ip(const char* ip);
UTM_API struct utm_device* utm_devid_get_device_list_by_interface(const char* ifname);
UTM_API struct utm_device* utm_devid_get_device_list_by_mac(const char* mac);

/* Releases every device of a list and its head; null is accepted. */
UTM_API void utm_devid_free_device_list(struct utm_device* list);

/*
 * Switches device identification: 0 off, 1 on; anything else is refused with EINVAL. Any answer but 0 is a refusal.
 */
UTM_API int32_t utm_devid_activate(uint32_t on);

/*
 * Reads the engine's status into out, which must not be null. Returns -1, and leaves out as it was, when the daemon
 * refused or did not answer; otherwise the daemon's answer.
 */
UTM_API int32_t utm_devid_get_status(struct utm_devid_status* out);

/* Limits the daemon's cache to mb megabytes: 1 to 10; anything else is refused with EINVAL. -1 is a refusal. */
UTM_API int32_t utm_devid_cache_set_max_size(uint32_t mb);

/* Empties the daemon's cache. -1 is a refusal. */
UTM_API int32_t utm_devid_flush_cache_list(void);

/*
 * Returns the time of the latest change to the device table, in the daemon's own unit, or 0 on failure. The daemon's
 * result is not looked at; a reply that comes short is a failure. Whenever a whole reply came errno is 0, also when the
 * timestamp is 0; after a failure it is not.
 */
UTM_API uint64_t utm_devid_get_latest_timestamp(void);

/* Switches the daemon's debugging: 0 off, 1 on; anything else is refused with EINVAL. -1 is a refusal. */
UTM_API int32_t utm_devid_debug(uint32_t on);

/* Has the daemon show its kernel-side list, where the daemon shows such things; nothing comes back. -1 is a refusal. */
UTM_API int32_t utm_devid_show_all_list(void);

/* Sets the engine back; the daemon defines to what. Any answer but 0 is a refusal. */
UTM_API int32_t utm_devid_reset(void);

/*
 * Marks an interface as ignored, or takes the mark away. op is 0 or 1, and the daemon defines which is which. An ifname
 * of more than 15 characters is cut. Refused with EINVAL: an ifname that is null or empty, another op. Any answer but 0
 * is a refusal.
 */
UTM_API int32_t utm_devid_set_ignore_iface(const char* ifname, uint32_t op);

UTM_END_DECLARATIONS

#endif
