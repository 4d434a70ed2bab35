#pragma once

#include "kqutm/daemon.h"
#include "operations/codes.h"

#include <cstddef>
#include <string_view>
#include <sys/socket.h>

namespace operations {

struct byte_range {
    size_t offset;
    size_t size;
};

// What one has to know of a daemon to talk to it, or to stand for it.
struct daemon_row {
    const char* name;
    const char* title; // in sentences: "the TITLE daemon"
    const char* path;
    int type = SOCK_STREAM; // of its socket
    size_t code_width = 4;  // of the code that a request begins with
    size_t request_size;
    size_t reply_size;
    byte_range result; // the number in a reply that tells how it went
    uint32_t more = 0; // the result of a list entry that others follow
    // What clients may read of any reply, beside its result and its code's fields.
    std::span<const byte_range> named = {};
    const char* pid_file = nullptr; // where clients look for the process that a hang-up signal reaches
    std::span<const code_row> (*codes)();
};

inline constexpr byte_range named_in_responses[] = {{16, 12}, {48, 8},  {80, 128}, {224, 24},
                                                    {264, 8}, {280, 4}, {288, 516}};

// The config daemons differ in path, request and codes alone.
constexpr daemon_row config_daemon(const char* name, const char* title, const char* path, size_t request_size,
                                   std::span<const code_row> (*codes)(), const char* pid_file = nullptr)
{
    return {.name = name,
            .title = title,
            .path = path,
            .code_width = 1,
            .request_size = request_size,
            .reply_size = sizeof(utm_event_response),
            .result = {0, 1},
            .more = UTM_RESPONSE_MORE,
            .named = named_in_responses,
            .pid_file = pid_file,
            .codes = codes};
}

inline constexpr daemon_row cf_daemon =
    config_daemon("cf", "content-filter", UTM_CF_CONFIG_SOCKET, sizeof(utm_cf_config_event), cf_codes, UTM_CF_PID_FILE);

inline constexpr daemon_row app_daemon =
    config_daemon("app", "application", UTM_APP_CONFIG_SOCKET, sizeof(utm_app_config_event), app_codes);

inline constexpr daemon_row user_profile_daemon = config_daemon(
    "user_profile", "user-profile", UTM_USER_PROFILE_SOCKET, sizeof(utm_user_profile_config_event), user_profile_codes);

inline constexpr daemon_row ips_daemon = {.name = "ips",
                                          .title = "IPS",
                                          .path = UTM_IPS_SOCKET,
                                          .request_size = sizeof(utm_ips_message),
                                          .reply_size = sizeof(utm_ips_message),
                                          .result = {offsetof(utm_ips_message, result), 4},
                                          .more = UTM_IPS_LIST_ENTRY,
                                          .codes = ips_codes};

inline constexpr daemon_row devid_daemon = {.name = "devid",
                                            .title = "device-identification",
                                            .path = UTM_DEVID_SOCKET,
                                            .request_size = sizeof(utm_devid_message),
                                            .reply_size = sizeof(utm_devid_message),
                                            .result = {offsetof(utm_devid_message, result), 4},
                                            .codes = devid_codes};

inline constexpr daemon_row av_daemon = {.name = "av",
                                         .title = "anti-virus",
                                         .path = UTM_AV_SOCKET,
                                         .request_size = sizeof(utm_av_message),
                                         .reply_size = sizeof(utm_av_message),
                                         .result = {offsetof(utm_av_message, status), 4},
                                         .codes = av_codes};

inline constexpr daemon_row ir_daemon = {.name = "ir",
                                         .title = "IR",
                                         .path = UTM_IR_SOCKET,
                                         .type = SOCK_SEQPACKET,
                                         .request_size = sizeof(utm_ir_request),
                                         .reply_size = sizeof(utm_ir_reply),
                                         .result = {offsetof(utm_ir_reply, status), 4},
                                         .codes = ir_codes};

inline constexpr const daemon_row* all_daemons[] = {
    &cf_daemon, &app_daemon, &user_profile_daemon, &ips_daemon, &devid_daemon, &av_daemon, &ir_daemon};

// Null for a name that no daemon has.
constexpr const daemon_row* find_daemon(std::string_view name)
{
    for (const daemon_row* one : all_daemons) {
        if (one->name == name)
            return one;
    }
    return nullptr;
}

// What the daemon's table says of a code; null where it has no such code.
inline const code_row* row_of(const daemon_row& one, uint32_t code)
{
    return find_row(one.codes(), code);
}

} // namespace operations
