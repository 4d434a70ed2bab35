#include "devid/devid.h"

#include "common/text.h"

namespace {

// Deliberate: to activate, reset and ignore every result but 0 is a refusal, to the others -1 alone.
bool any_but_zero(int32_t result)
{
    return result != 0;
}

bool minus_one(int32_t result)
{
    return result == -1;
}

// One request and one reply: what is asked, which results are failures, and what is logged for them.
struct control {
    utm_devid_message request;
    bool (*failed)(int32_t result);
    const char* refused;
    const char* not_sent = "send fail\n";
    const char* not_received = "recv fail\n";
};

int32_t refuse_argument(const char* text, const char* operation = __builtin_FUNCTION(), int line = __builtin_LINE())
{
    log_at_line(engines::devid, operation, text, line);
    return fail(EINVAL);
}

int32_t devid_command(const control& control, const char* operation = __builtin_FUNCTION())
{
    unique_fd devid = request_from_devid(control.request, operation, control.not_sent);
    if (devid.get() < 0)
        return -1;
    utm_devid_message reply;
    if (receive_record(devid, reply, &utm_devid_message::result, -1) < 0) {
        log_at_line(engines::devid, operation, control.not_received);
        return -1;
    }
    if (control.failed(reply.result))
        log_at_line(engines::devid, operation, control.refused);
    return reply.result;
}

} // namespace

UTM_API int32_t utm_devid_activate(uint32_t on)
{
    if (on > 1)
        return refuse_argument("wrong activate range\n");
    return devid_command(
        {.request = {.code = UTM_DEVID_ACTIVATE, .on = on}, .failed = any_but_zero, .refused = "set switch fail\n"});
}

UTM_API int32_t utm_devid_get_status(utm_devid_status* out)
{
    utm_devid_message message = {.code = UTM_DEVID_GET_STATUS};
    unique_fd devid = request_from_devid(message, __func__);
    if (devid.get() < 0)
        return -1;
    if (receive_record(devid, message, &utm_devid_message::result, -1) < 0) {
        log_at_line(engines::devid, __func__, "recv fail\n");
        return -1;
    }
    if (minus_one(message.result)) {
        log_at_line(engines::devid, __func__, "get switch fail\n");
        return -1;
    }
    out->words[0] = message.debug;
    out->words[1] = message.on;
    out->words[2] = message.status_word_3;
    return message.result;
}

UTM_API int32_t utm_devid_cache_set_max_size(uint32_t mb)
{
    if (mb < 1 || mb > 10)
        return refuse_argument("size range 1~10MB, please re-assign\n");
    return devid_command({.request = {.code = UTM_DEVID_CACHE_SET_MAX_SIZE, .cache_size = mb},
                          .failed = minus_one,
                          .refused = "set cache size fail\n"});
}

UTM_API int32_t utm_devid_flush_cache_list(void)
{
    return devid_command(
        {.request = {.code = UTM_DEVID_FLUSH_CACHE_LIST}, .failed = minus_one, .refused = "flush list fail\n"});
}

// Deliberate: the timestamp is returned whatever result stands beside it.
UTM_API uint64_t utm_devid_get_latest_timestamp(void)
{
    unique_fd devid = request_from_devid({.code = UTM_DEVID_GET_LATEST_TIMESTAMP}, __func__);
    if (devid.get() < 0)
        return 0;
    utm_devid_message reply;
    ssize_t size = receive_record(devid, reply, &utm_devid_message::latest_timestamp, uint64_t(0));
    if (size < 0)
        log_at_line(engines::devid, __func__, "recv fail\n");
    if (size == static_cast<ssize_t>(sizeof reply))
        errno = 0; // which alone tells a timestamp of 0 from a failure
    return reply.latest_timestamp;
}

UTM_API int32_t utm_devid_debug(uint32_t on)
{
    // Deliberate: a bad debug flag is refused with the text of activate.
    if (on > 1)
        return refuse_argument("wrong activate range\n");
    // Deliberate: debug and show-all tell a failed send or receive with the text of a refusal.
    return devid_command({.request = {.code = UTM_DEVID_DEBUG, .debug = on},
                          .failed = minus_one,
                          .refused = "set debug fail\n",
                          .not_sent = "set debug fail\n",
                          .not_received = "set debug fail\n"});
}

UTM_API int32_t utm_devid_show_all_list(void)
{
    return devid_command({.request = {.code = UTM_DEVID_SHOW_ALL_LIST},
                          .failed = minus_one,
                          .refused = "show kernel list fail\n",
                          .not_sent = "show kernel list fail\n",
                          .not_received = "show kernel list fail\n"});
}

UTM_API int32_t utm_devid_reset(void)
{
    return devid_command(
        {.request = {.code = UTM_DEVID_RESET}, .failed = any_but_zero, .refused = "deviceid reset fail\n"});
}

UTM_API int32_t utm_devid_set_ignore_iface(const char* ifname, uint32_t op)
{
    if (ifname == nullptr || *ifname == '\0')
        return refuse_argument("invalid interface name.\n");
    if (op > 1)
        return refuse_argument("invalid operation.\n");
    control ignore = {.request = {.code = UTM_DEVID_SET_IGNORE_IFACE, .ignore = op},
                      .failed = any_but_zero,
                      .refused = "deviceid set ignore iface fail\n"};
    put_text(ignore.request.device.interface_name, ifname);
    return devid_command(ignore);
}
