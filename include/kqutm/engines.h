/*
 * The wire between the library and the four engine daemons: socket paths, codes, records, and the routines that open
 * either end. Included by kqutm/daemon.h, which tells the rules of the road; examples/ips_daemon.c is such a daemon.
 *
 * A request is one record, and so is its reply; the codes marked "list" are answered by a stream of records, the last
 * of which says that it is the last. The library takes each record with one receive: write each with one send.
 */
#ifndef KQUTM_ENGINES_H
#define KQUTM_ENGINES_H

#include "av.h"
#include "devid.h"
#include "ips.h"
#include "ir.h"

/* The engine daemons. Their listening sockets are streams, that of the IR database a sequenced-packet socket. */
#define UTM_IPS_SOCKET "/tmp/utm_ips"
#define UTM_DEVID_SOCKET "/tmp/utm_devid"
#define UTM_AV_SOCKET "/tmp/utm_av"
#define UTM_IR_SOCKET "/tmp/utm_ir"

/* Codes of struct utm_ips_message (kqutm/ips.h). */
enum utm_ips_code {
    UTM_IPS_ACTIVATE = 0,
    UTM_IPS_SHOW_STATUS = 2, /* the whole reply goes to the caller */
    UTM_IPS_SET_WHITELIST = 3,
    UTM_IPS_SET_BLACKLIST = 4,
    UTM_IPS_SHOW_CUSTOMIZELIST = 5, /* list */
    UTM_IPS_UPDATE_SIGNATURE = 6,
    UTM_IPS_DEBUG = 7,
    UTM_IPS_RESET = 8,
    UTM_IPS_FLUSH = 9
};

/* Result of a record of the customize list. */
enum utm_ips_list_result {
    UTM_IPS_LIST_FULL = -1, /* the list ends here: the daemon holds as many rules as it can */
    UTM_IPS_LIST_END = 0,   /* the list ends here, as with every value that is not named */
    UTM_IPS_LIST_ENTRY = 1  /* this record carries a rule, and another record follows */
};

enum utm_devid_code {
    UTM_DEVID_ACTIVATE = 1,
    UTM_DEVID_GET_STATUS = 2,
    UTM_DEVID_GET_DEVICE_LIST = 3, /* list */
    UTM_DEVID_CACHE_SET_MAX_SIZE = 4,
    UTM_DEVID_FLUSH_CACHE_LIST = 5,
    UTM_DEVID_GET_LATEST_TIMESTAMP = 6,
    UTM_DEVID_DEBUG = 7,
    UTM_DEVID_SHOW_ALL_LIST = 8,
    UTM_DEVID_RESET = 9,
    UTM_DEVID_SET_IGNORE_IFACE = 10
};

/*
 * Request to, and reply of, the device-identification daemon: 392 bytes. A list request names its filter in the device:
 * the one text of IP address, interface name and MAC address that is not empty, or none for all devices. A list ends
 * with a record of result -1, which carries no device.
 */
struct utm_devid_message {
    uint32_t code;          /* request: an utm_devid_code */
    uint32_t debug;         /* request of debug: 0 off, 1 on; reply of get status: word 1 */
    uint32_t on;            /* request of activate: 0 off, 1 on; reply of get status: word 2 */
    uint32_t status_word_3; /* reply of get status */
    uint32_t cache_size;    /* cache set max size: megabytes, 1 to 10 */
    uint32_t ignore;        /* set ignore iface: 0 or 1, with the interface name of the device */
    struct utm_device_record device;
    uint64_t latest_timestamp; /* reply of get latest timestamp */
    int32_t result;            /* reply */
    uint8_t unread_388[4];
};

enum utm_av_code {
    UTM_AV_ACTIVATE = 0,
    UTM_AV_SHOW_STATUS = 1,
    UTM_AV_CACHE_SET_MAX_SIZE = 4,
    UTM_AV_SHOW_CACHE = 5, /* list */
    UTM_AV_SET_WHITELIST = 6,
    UTM_AV_SHOW_WHITELIST = 7, /* list */
    UTM_AV_DEBUG = 8,
    UTM_AV_RESET = 9,
    UTM_AV_FLUSH = 10
};

/*
 * Request to, and reply of, the anti-virus daemon: 96 bytes. A list ends with a record of status -1, which carries no
 * entry. A text that fills its field has no terminator.
 */
struct utm_av_message {
    uint32_t code;          /* request: an utm_av_code */
    uint32_t on;            /* request of activate and debug: 0 off, 1 on; reply of show status: word 1 */
    uint32_t status_word_2; /* reply of show status */
    uint32_t status_word_3; /* reply of show status */
    uint32_t cache_size;    /* cache set max size: 0 to 10 */
    char text[33];          /* set and show whitelist: the entry; show cache: the key */
    char cache_value[32];   /* show cache */
    uint8_t unread_85[3];
    uint32_t whitelist_operation; /* set whitelist: 0 or 1 */
    int32_t status;               /* reply */
};

/* The two switches run the other way round: 0 switches on. */
enum utm_ir_code {
    UTM_IR_ACTIVATE_ON = 0,
    UTM_IR_ACTIVATE_OFF = 1,
    UTM_IR_SET_UPDATE_CHECK_FREQ = 2,
    UTM_IR_SET_MAX_SIZE_MB = 3,
    UTM_IR_DEBUG_ON = 6,
    UTM_IR_DEBUG_OFF = 7,
    UTM_IR_SET_WHITELIST_0 = 8, /* operation 0 */
    UTM_IR_SET_WHITELIST_1 = 9, /* operation 1 */
    UTM_IR_FLUSH_FIRST = 11,
    UTM_IR_SET_THREAT_CATEGORY = 12,
    UTM_IR_SET_BLACKLIST_0 = 13, /* operation 0 */
    UTM_IR_SET_BLACKLIST_1 = 14, /* operation 1 */
    UTM_IR_FLUSH_SECOND = 15,    /* may follow the first step on the same connection */
    UTM_IR_GET_WHITELIST = 16,   /* list */
    UTM_IR_GET_BLACKLIST = 17,   /* list */
    UTM_IR_LOAD_DB = 18,
    UTM_IR_SHOW_DB_STATUS = 19
};

/* Request to the IR daemon: 132 bytes. A path that fills its field has no terminator. */
struct utm_ir_request {
    uint32_t code; /* an utm_ir_code */
    union {
        char path[128]; /* load db */
        struct {
            uint32_t value;        /* whatever is set */
            uint16_t second_value; /* set whitelist and blacklist */
        } entry;
    } body;
};

/* Reply of the IR daemon: 16 bytes. */
struct utm_ir_reply {
    int32_t status;      /* 0 done, anything else refused */
    uint32_t version[3]; /* show db status */
};

/* Reply of the IR daemon that carries an entry of a list, or ends it: 16 bytes. */
struct utm_ir_list_record {
    uint32_t end; /* 0: this record carries an entry, and another record follows; anything else: the list ends here */
    uint32_t value;
    uint16_t second_value;
    uint8_t unread_10[6];
};

UTM_BEGIN_DECLARATIONS

/*
 * For the daemons: open the listening socket of the engine at its path, with a backlog of 3 and mode 0777, in place of
 * whatever file is there. Return a close-on-exec descriptor, or -1: then no socket is left at the path, and the file
 * that was there before is gone. Those of IPS and device identification write a failure to the log of their family. The
 * IR daemon opens its own socket, and must itself let others connect to it, with a mode such as 0777.
 */
UTM_API int ips_create_server_socket(void);
UTM_API int create_server_socket(void); /* device identification */
UTM_API int av_create_server_socket(void);

/*
 * For tools: connect to an engine with the time limits of its family, in one attempt. Return a close-on-exec descriptor
 * that the caller closes, or a negative value. Those of IPS and device identification write a failure to the log.
 */
UTM_API int connect_ips(void);
UTM_API int connect_deviceid(void);
UTM_API int connect_avd(void);

/*
 * Allocate an entry of a list, zero but for its links, which are not set. The caller releases it with free(). Return
 * null without memory; those of IPS and AV then print "malloc show queue node fail" on standard output.
 */
UTM_API struct utm_ips_rule* ips_create_node(void);
UTM_API struct utm_device* create_dev(void);
UTM_API struct utm_av_entry* av_create_node(void);

UTM_END_DECLARATIONS

#endif
