/*
 * The wire between the library and the gateway's daemons: socket paths, records and codes, and the routines that
 * exchange them. A daemon needs no other header.
 *
 * The rules of the road
 *   - One connection carries one exchange: the client connects, writes one record of fixed size, and reads one record
 *     of fixed size, or several of them for a list; then it closes. One exception: utm_ir_flush with mode 0 sends code
 *     11 and, once that was accepted, code 15 on the same connection. An IR daemon keeps the connection open until the
 *     client closes it.
 *   - Numbers are in the byte order of the machine. There is no header, length, magic or checksum.
 *   - A request's code decides which fields of its body count. The library sends all others as zero; a daemon must not
 *     depend on that.
 *   - Texts end in a zero byte inside their field, unless told otherwise beside their code or record, here or in
 *     kqutm/engines.h.
 */
#ifndef KQUTM_DAEMON_H
#define KQUTM_DAEMON_H

#include "app.h"
#include "cf.h"
#include "engines.h"
#include "profile.h"

/* The config daemons. Their listening sockets are streams; they answer with event responses. */
enum utm_config_target {
    UTM_CONFIG_TARGET_CF = 0,
    UTM_CONFIG_TARGET_APP = 1,
    UTM_CONFIG_TARGET_USER_PROFILE = 2
};

#define UTM_CF_CONFIG_SOCKET "/dev/utm_cf_config_socket"
#define UTM_APP_CONFIG_SOCKET "/dev/utm_app_config_socket"
#define UTM_USER_PROFILE_SOCKET "/dev/utm_user_profile_socket"

/* Codes of user profiles, the same towards all three config daemons. Body: id, and mac for the two device codes. */
enum utm_profile_code {
    UTM_PROFILE_CREATE = 1,
    UTM_PROFILE_DELETE = 2,
    UTM_PROFILE_ADD_DEVICE = 3,
    UTM_PROFILE_DELETE_DEVICE = 4
};

/* Codes of the content-filter daemon. Body: the member named beside each. */
enum utm_cf_code {
    UTM_CF_DUMP = 0,                        /* path: append a dump to that file */
    UTM_CF_POLICY_CREATE = 5,               /* policy, without block */
    UTM_CF_POLICY_BLOCK = 6,                /* policy */
    UTM_CF_BIND_POLICY = 7,                 /* binding */
    UTM_CF_ADD_TRUSTED_URL = 8,             /* url */
    UTM_CF_DELETE_TRUSTED_URL = 9,          /* url */
    UTM_CF_ADD_FORBIDDEN_URL = 10,          /* url */
    UTM_CF_DELETE_FORBIDDEN_URL = 11,       /* url */
    UTM_CF_ADD_TRUSTED_DOMAIN = 12,         /* policy_text */
    UTM_CF_DELETE_TRUSTED_DOMAIN = 13,      /* policy_text */
    UTM_CF_ADD_FORBIDDEN_DOMAIN = 14,       /* policy_text */
    UTM_CF_DELETE_FORBIDDEN_DOMAIN = 15,    /* policy_text */
    UTM_CF_ADD_DOMAIN_KEYWORD = 16,         /* policy_text */
    UTM_CF_DELETE_DOMAIN_KEYWORD = 17,      /* policy_text */
    UTM_CF_WEB_SAFE_BROWSING_ACTIVATE = 18, /* value: 0 is off */
    UTM_CF_WEB_CATEGORY_ACTIVATE = 20,      /* value: 0 is off */
    UTM_CF_DEBUG = 22,                      /* value */
    UTM_CF_GLOBAL_FLUSH = 23,               /* value: the flush type */
    UTM_CF_POLICY_FLUSH = 24,               /* flush */
    UTM_CF_GET_BROWSED_DOMAINS = 25         /* profile, without mac: streams one domain a record */
};

/*
 * The content-filter daemon is switched by a command: one number and a newline in UTM_CF_COMMAND_FILE, which the daemon
 * removes after reading, and a hang-up signal to the process whose number stands in UTM_CF_PID_FILE. The writer holds
 * an exclusive lock (flock) on the file, so take one before reading.
 */
#define UTM_CF_PID_FILE "/var/run/contfltd.pid"
#define UTM_CF_COMMAND_FILE "/var/run/contfltd.cmd"
enum utm_cf_command {
    UTM_CF_COMMAND_OFF = 28,
    UTM_CF_COMMAND_ON = 29
};

/*
 * Codes of the application daemon. Body: the member named beside each. Codes 31 and 37 stream lists of their own; code
 * 47 must not stream; every other code may stream app usage entries, which code 36 is for.
 */
enum utm_app_code {
    UTM_APP_SET_DAILY_LIMIT_ENABLE = 26, /* limits: daily_limit_enable */
    UTM_APP_GET_DAILY_LIMIT_ENABLE = 27, /* limits */
    UTM_APP_SET_DAILY_LIMIT = 28,        /* limits: limit */
    UTM_APP_GET_DAILY_LIMIT = 29,        /* limits */
    UTM_APP_SET_WEEKDAY_LIMIT = 30,      /* limits: weekday_or_query, limit */
    UTM_APP_GET_WEEKDAY_LIMITS = 31,     /* limits */
    UTM_APP_SET_EXTENSION = 32,          /* limits: extension */
    UTM_APP_GET_EXTENSION = 33,          /* limits */
    UTM_APP_RESET_EXTENSION = 34,        /* limits */
    UTM_APP_GET_USAGE = 35,              /* limits */
    UTM_APP_GET_USAGE_BY_APP = 36,       /* limits: weekday_or_query */
    UTM_APP_GET_USAGE_PREV_DAYS = 37,    /* limits: weekday_or_query */
    UTM_APP_DUMP = 38,                   /* path: append a dump to that file */
    UTM_APP_ACTIVATE = 39,               /* value */
    UTM_APP_DEBUG = 41,                  /* value */
    UTM_APP_POLICY_CREATE = 42,          /* policy: id */
    UTM_APP_POLICY_ADD_ENTRIES = 43,     /* policy */
    UTM_APP_POLICY_RESET_ENTRIES = 44,   /* policy: id */
    UTM_APP_BIND_POLICY = 45,            /* binding */
    UTM_APP_UPDATE_SIGNATURE = 46,       /* path: without terminator when it fills its field */
    UTM_APP_GET_DAEMON_STATUS = 47,      /* nothing */
    UTM_APP_GET_EXPORT_INTERVAL = 48,    /* nothing */
    UTM_APP_SET_EXPORT_INTERVAL = 49,    /* value */
    UTM_APP_IMPORT_STATISTICS = 50,      /* path */
    UTM_APP_EXPORT_STATISTICS = 51       /* path */
};

/* Application entries that one record carries at the most. */
#define UTM_APP_ENTRIES_PER_RECORD 10

/* Request to the content-filter daemon: 2056 bytes. */
struct utm_cf_config_event {
    uint8_t code;
    uint8_t reserved[7];
    union {
        struct {
            int32_t id;
            uint8_t mac[6];
        } profile;
        struct {
            int32_t id;
            uint8_t block[UTM_CF_BLOCK_SIZE];
        } policy;
        struct {
            int32_t profile;
            int32_t policy;
        } binding;
        struct {
            int32_t id;
            char text[512];
        } policy_text;
        struct {
            int32_t policy; /* 0: no policy named */
            int32_t type;
        } flush;
        int32_t value;
        char url[2048];
        char path[128];
        uint8_t bytes[2048];
    } body;
};

/* Request to the application daemon: 136 bytes. */
struct utm_app_config_event {
    uint8_t code;
    uint8_t reserved[7];
    union {
        struct {
            int32_t id;
            uint8_t mac[6];
        } profile;
        struct {
            uint32_t profile;
            uint32_t weekday_or_query; /* code 30: a weekday; codes 36 and 37: their second argument */
            int32_t daily_limit_enable;
            int32_t limit; /* code 28: of every day; code 30: of the weekday */
            int32_t extension;
        } limits;
        struct {
            uint32_t id;
            uint32_t count; /* of the entries in this record */
            uint8_t entries[UTM_APP_ENTRIES_PER_RECORD][UTM_APP_ENTRY_SIZE];
        } policy;
        struct {
            uint32_t profile;
            uint32_t policy;
        } binding;
        int32_t value;
        uint32_t values[32];
        char path[128];
        uint8_t bytes[128];
    } body;
};

/* Request to the user-profile daemon: 16 bytes. */
struct utm_user_profile_config_event {
    uint8_t code;
    uint8_t reserved[3];
    int32_t id;
    uint8_t mac[6];
    uint8_t unused[2];
};

/* Status of an event response. Every other value is the daemon's own error code. */
enum utm_response_status {
    UTM_RESPONSE_OK = 0,  /* done; in a list, the record that ends it */
    UTM_RESPONSE_MORE = 2 /* this record carries one list entry, and another record follows */
};

/*
 * Reply of a config daemon: 832 bytes. Each field belongs to the requests named beside it. The four list heads are
 * addresses in the client, set by the library; what a daemon sends there is ignored.
 */
struct utm_event_response {
    uint8_t status; /* every reply: an utm_response_status */
    uint8_t unread_1[15];
    uint32_t usage[3]; /* code 35 */
    uint8_t unread_28[20];
    uint32_t app_usage_values[2]; /* list entry of the application daemon, but for codes 31, 37 and 47 */
    struct utm_app_usage_entry* app_usage_list;
    uint8_t unread_64[16];
    uint32_t prev_days_app_id; /* list entry of code 37, with the figures */
    uint8_t prev_days_figures[124];
    struct utm_app_usage_prev_days_entry* prev_days_list;
    uint8_t unread_216[8];
    uint32_t daily_limit_enable; /* code 27 */
    uint32_t daily_limit;        /* code 29 */
    uint32_t extension;          /* code 33 */
    uint32_t daemon_status[3];   /* code 47 */
    uint8_t unread_248[16];
    uint32_t weekday_limit_values[2]; /* list entry of code 31 */
    struct utm_weekday_limit_entry* weekday_limit_list;
    uint32_t export_interval; /* code 48 */
    uint8_t unread_284[4];
    char domain[512]; /* list entry of the content-filter daemon's code 25, with the value */
    uint32_t domain_value;
    uint8_t unread_804[20];
    struct utm_domain_browse_entry* domain_browse_list;
};

UTM_BEGIN_DECLARATIONS

/*
 * Sends a config event to a config daemon and tells whether the daemon accepted it.
 *
 * event points to the target's record: utm_cf_config_event, utm_app_config_event or utm_user_profile_config_event.
 * target is an utm_config_target; every other value behaves like a daemon that is not there.
 *
 * Connects up to 22 times, 100 ms apart, and waits up to 10 s for the answer; a daemon that listens without accepting
 * blocks it for as long as its queue of connections is full. Returns 0 when the daemon answered with
 * status 0, otherwise -1, with a line in UTM_APPCF_LOG for the failure and for each failed attempt to connect.
 */
UTM_API int send_utm_config_event(const void* event, int target);

/*
 * Sends a config event to a config daemon and returns its answer: the last event response, with the list that the
 * request collects, if any, in the slot of its kind:
 *
 *     UTM_CONFIG_TARGET_APP, code 31              weekday_limit_list
 *     UTM_CONFIG_TARGET_APP, code 37              prev_days_list
 *     UTM_CONFIG_TARGET_APP, code 47              none
 *     UTM_CONFIG_TARGET_APP, every other code     app_usage_list
 *     UTM_CONFIG_TARGET_CF, code 25               domain_browse_list
 *     everything else                             none
 *
 * A list is there on every success, if need be empty. A record that carries an entry fails the call for code 47, and is
 * skipped where there is no list. The other slots hold what the daemon sent: read the one above
 * alone. The caller releases the response with free(), and the list as kqutm/profile.h tells; neither holds the other.
 *
 * Connects once, as the sender does, waits up to 2 s for the first record, and for each further record as long as the
 * daemon takes. Returns null on every failure, with a line in UTM_APPCF_LOG; what was received until then is not
 * released.
 */
UTM_API struct utm_event_response* send_utm_event_and_get_response(const void* event, int target);

UTM_END_DECLARATIONS

#endif
