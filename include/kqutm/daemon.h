/*
 * The wire between the library and the gateway's daemons: socket paths, records and codes, and the routines that
 * exchange them. A daemon needs no other header.
 *
 * The rules of the road
 *   - One connection carries one exchange: the client connects, writes one record of fixed size, and reads one record
 *     of fixed size, or several of them for a list; then it closes.
 *   - Numbers are in the byte order of the machine. There is no header, length, magic or checksum.
 *   - A request's code decides which fields of its body count. The library sends all others as zero; a daemon must not
 *     depend on that.
 *   - Texts end in a zero byte inside their field.
 */
#ifndef KQUTM_DAEMON_H
#define KQUTM_DAEMON_H

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

/* The content-filter daemon's code that streams a list: one domain a record. */
enum utm_cf_code {
    UTM_CF_GET_BROWSED_DOMAINS = 25
};

/*
 * The application daemon's codes that decide how its answer is read. Every code that is not listed here, and
 * UTM_APP_GET_USAGE_BY_APP, may stream app usage entries.
 */
enum utm_app_code {
    UTM_APP_GET_WEEKDAY_LIMITS = 31,
    UTM_APP_GET_USAGE_BY_APP = 36,
    UTM_APP_GET_USAGE_PREV_DAYS = 37,
    UTM_APP_GET_DAEMON_STATUS = 47
};

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
            char text[512];
        } policy_text;
        char url[2048];
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
