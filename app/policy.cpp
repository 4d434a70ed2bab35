// Application policies: creating, application entries, binding to a user profile, dump.

#include "kqutm/app.h"

#include "cf/dump.h"
#include "event/exchange.h"
#include "registry/policies.h"

#include <algorithm>

namespace {

// Entries leave in records of ten; the last one carries what is left. Stops at the first failure.
int32_t send_entries(uint32_t id, const void* entries, int32_t count, const char* failed,
                     const char* operation = __builtin_FUNCTION())
{
    const auto* from = static_cast<const uint8_t*>(entries);
    for (auto left = static_cast<uint32_t>(count); left > 0;) {
        const uint32_t carried = std::min<uint32_t>(left, UTM_APP_ENTRIES_PER_RECORD);
        const size_t size = size_t{carried} * UTM_APP_ENTRY_SIZE;
        utm_app_config_event event = {.code = UTM_APP_POLICY_ADD_ENTRIES,
                                      .body = {.policy = {.id = id, .count = carried}}};
        memcpy(event.body.policy.entries, from, size);
        if (const int32_t status = tell(event, failed, operation); status != 0)
            return status;
        from += size;
        left -= carried;
    }
    return 0;
}

} // namespace

UTM_API int32_t utm_app_policy_create(uint32_t id)
{
    const int32_t reserved = reserve_id(id, UTM_ID_APP_POLICY, "[%s]can not get app policy unique id\n");
    if (reserved == -1)
        return -1;
    const utm_app_config_event event = {.code = UTM_APP_POLICY_CREATE,
                                        .body = {.policy = {.id = static_cast<uint32_t>(reserved)}}};
    const answer response = ask(event, "[%s]send_utm_event_and_get_response fail\n", __func__);
    // Deliberate: a policy that the daemon refuses keeps its identifier in the registry.
    if (response == nullptr)
        return -1;
    // Deliberate: only the head of the list is released, whatever entries the daemon sent.
    free(response->app_usage_list);
    return reserved;
}

UTM_API int32_t utm_app_policy_config_init_block(uint32_t id, const void* entries, int32_t count)
{
    const utm_app_config_event reset = {.code = UTM_APP_POLICY_RESET_ENTRIES, .body = {.policy = {.id = id}}};
    if (const int32_t status = tell(reset, "[%s] set app data reset fail\n", __func__); status != 0)
        return status;
    if (entries == nullptr || count <= 0) {
        utm_log(UTM_APPCF_LOG, "[%s] only reset all APPs\n", __func__);
        return 0;
    }
    return send_entries(id, entries, count, "[%s] set utm_app_policy_config_init_block fail\n");
}

UTM_API int32_t utm_app_policy_config_block(uint32_t id, const void* entries, int32_t count)
{
    // Deliberate: adding nothing is no failure, but leaves a line.
    if (count < 1) {
        utm_log(UTM_APPCF_LOG, "%s: number is less than 1, ignore it!\n", __func__);
        return 0;
    }
    if (entries == nullptr)
        return fail(EINVAL);
    return send_entries(id, entries, count, "[%s] set utm_app_policy_config_block fail\n");
}

UTM_API int32_t utm_user_profile_add_app_policy(uint32_t profile, uint32_t policy)
{
    int32_t result;
    if (!record_binding(policies::app, profile, policy, result))
        return result;
    // Deliberate: the line names the profile where it says policy, and the policy where it says profile.
    return tell(
        utm_app_config_event{.code = UTM_APP_BIND_POLICY, .body = {.binding = {.profile = profile, .policy = policy}}},
        "add app policy(%d) to user profile(%d) fail\n", static_cast<int>(profile), static_cast<int>(policy));
}

UTM_API int32_t utm_app_dump_all(const char* path)
{
    if (!begin_dump(path))
        return -1;
    return finish_dump<utm_app_config_event>(UTM_APP_DUMP, path, policies::app);
}
