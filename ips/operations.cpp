#include "ips/ips.h"

#include "common/list.h"
#include "common/text.h"

namespace {

int32_t refuse_argument(const char* text, const char* operation = __builtin_FUNCTION(), int line = __builtin_LINE())
{
    log_at_line(engines::ips, operation, text, line);
    return fail(EINVAL);
}

int32_t ips_command(const utm_ips_message& request, const char* refused, const char* operation = __builtin_FUNCTION())
{
    unique_fd ips = request_from_ips(request, operation);
    if (ips.get() < 0)
        return -1;
    utm_ips_message reply;
    if (receive_record(ips, reply, &utm_ips_message::result, -1) < 0) {
        log_at_line(engines::ips, operation, "recv fail\n");
        return -1;
    }
    if (reply.result != 0)
        log_at_line(engines::ips, operation, refused);
    return reply.result;
}

utm_ips_message list_request(utm_ips_code code, const char* rule, uint32_t action)
{
    utm_ips_message request = {.code = code, .list_action = action};
    put_text(request.rule_id, rule);
    return request;
}

} // namespace

UTM_API int32_t utm_ips_activate(uint32_t on)
{
    if (on > 1)
        return refuse_argument("activate parameter error\n");
    return ips_command({.code = UTM_IPS_ACTIVATE, .on = on}, "set switch fail\n");
}

// Deliberate: the status block is returned whatever the daemon answered, and also when no answer came.
UTM_API utm_ips_message* utm_ips_show_status(void)
{
    unique_fd ips = request_from_ips({.code = UTM_IPS_SHOW_STATUS}, __func__);
    if (ips.get() < 0)
        return nullptr;
    auto* status = create_node<utm_ips_message>();
    if (status == nullptr) {
        log_at_line(engines::ips, __func__, "memory allocate fail\n");
        return nullptr;
    }
    if (receive_record(ips, *status, &utm_ips_message::result, -1) < 0)
        log_at_line(engines::ips, __func__, "recv fail\n");
    else if (status->result != 0)
        log_at_line(engines::ips, __func__, "show status fail\n");
    return status;
}

UTM_API int32_t utm_ips_set_whitelist(const char* rule, uint32_t action)
{
    if (action > 1 || rule == nullptr)
        return refuse_argument("set_whitelist parameter error\n");
    return ips_command(list_request(UTM_IPS_SET_WHITELIST, rule, action), "set whitelist fail\n");
}

UTM_API int32_t utm_ips_set_blacklist(const char* rule, uint32_t action)
{
    if (action > 1 || rule == nullptr)
        return refuse_argument("set_blacklist parameter error\n");
    return ips_command(list_request(UTM_IPS_SET_BLACKLIST, rule, action), "set blacklist fail\n");
}

UTM_API int32_t utm_ips_update_signature(const char* path)
{
    if (path == nullptr)
        return refuse_argument("update signature parameter error\n");
    utm_ips_message request = {.code = UTM_IPS_UPDATE_SIGNATURE};
    put_text(request.signature_path, path);
    return ips_command(request, "update signature fail\n");
}

UTM_API int32_t utm_ips_debug(uint32_t on)
{
    if (on > 1)
        return refuse_argument("debug parameter error\n");
    return ips_command({.code = UTM_IPS_DEBUG, .debug = on}, "set debug fail\n");
}

UTM_API int32_t utm_ips_reset(void)
{
    return ips_command({.code = UTM_IPS_RESET}, "reset fail\n");
}

UTM_API int32_t utm_ips_flush(uint32_t mode)
{
    if (mode > 2)
        return refuse_argument("flush parameter error\n");
    return ips_command({.code = UTM_IPS_FLUSH, .flush_mode = mode}, "flush fail\n");
}
