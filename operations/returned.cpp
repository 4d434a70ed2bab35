#include "operations/returned.h"

#include "kqutm/daemon.h"
#include "operations/codes.h"
#include "operations/text.h"

#include <unistd.h>

namespace operations {

namespace {

// By slot, those in use alone.
json used_slots(const uint32_t (&slots)[UTM_ID_SLOTS])
{
    json used = json::object();
    for (size_t slot = 0; slot < UTM_ID_SLOTS; slot++) {
        if (slots[slot] != 0)
            used[std::to_string(slot)] = slots[slot];
    }
    return used;
}

} // namespace

json told_and_released(char* text)
{
    json told = text == nullptr ? json() : json(std::string(text));
    free(text);
    return told;
}

json told_and_released(utm_ips_message* reply)
{
    if (reply == nullptr)
        return {};
    json told = decode_fields(find_row(ips_codes(), UTM_IPS_SHOW_STATUS)->reply, to_record(*reply));
    told["result"] = reply->result;
    free(reply);
    return told;
}

json told_and_released(utm_id_registry* segment)
{
    if (segment == nullptr)
        return {};
    json told = {{"profiles", used_slots(segment->profiles)},
                 {"cf_bindings", used_slots(segment->cf_bindings)},
                 {"cf_policies", used_slots(segment->cf_policies)},
                 {"app_bindings", used_slots(segment->app_bindings)},
                 {"app_policies", used_slots(segment->app_policies)}};
    detach_utm_id_data_shm(segment);
    return told;
}

json told_and_released(void* common_segment)
{
    if (common_segment == nullptr)
        return {};
    json told = {{"uuid", text_of(static_cast<const char*>(common_segment), UTM_UUID_SIZE)}};
    detach_utm_common_data_shm(common_segment);
    return told;
}

json descriptor_told_and_closed(int descriptor)
{
    if (descriptor >= 0)
        close(descriptor);
    return descriptor;
}

} // namespace operations
