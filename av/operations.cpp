#include "av/av.h"

#include "common/text.h"

namespace {

// The daemon's reply, with status -1 where there is none.
utm_av_message ask_av(const utm_av_message& request)
{
    utm_av_message reply = {.status = -1};
    unique_fd av = request_from_av(request);
    if (av.get() >= 0)
        receive_record(av, reply, &utm_av_message::status, -1);
    return reply;
}

int32_t av_command(const utm_av_message& request)
{
    return ask_av(request).status;
}

} // namespace

UTM_API int32_t utm_av_activate(uint32_t on)
{
    if (on > 1)
        return fail(EINVAL);
    return av_command({.code = UTM_AV_ACTIVATE, .on = on});
}

UTM_API int32_t utm_av_show_status(utm_av_status* out)
{
    if (out == nullptr)
        return fail(EINVAL);
    const utm_av_message reply = ask_av({.code = UTM_AV_SHOW_STATUS});
    if (reply.status == -1)
        return -1;
    out->words[0] = reply.on;
    out->words[1] = reply.status_word_2;
    out->words[2] = reply.status_word_3;
    return reply.status;
}

UTM_API int32_t utm_av_cache_set_max_size(uint32_t limit)
{
    if (limit > 10)
        return fail(EINVAL);
    return av_command({.code = UTM_AV_CACHE_SET_MAX_SIZE, .cache_size = limit});
}

UTM_API int32_t utm_av_set_whitelist(const char* entry, uint32_t operation)
{
    if (operation > 1 || entry == nullptr || *entry == '\0')
        return fail(EINVAL);
    utm_av_message request = {.code = UTM_AV_SET_WHITELIST, .whitelist_operation = operation};
    // Deliberate: an entry of more than 32 characters fills its field and has no terminator.
    fill_text(request.text, entry);
    return av_command(request);
}

UTM_API int32_t utm_av_debug(uint32_t on)
{
    if (on > 1)
        return fail(EINVAL);
    return av_command({.code = UTM_AV_DEBUG, .on = on});
}

UTM_API int32_t utm_av_reset(void)
{
    return av_command({.code = UTM_AV_RESET});
}

UTM_API int32_t utm_av_flush(void)
{
    return av_command({.code = UTM_AV_FLUSH});
}
