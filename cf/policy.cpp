// Content-filter policies: creating, category block, binding to a user profile.

#include "kqutm/cf.h"

#include "event/exchange.h"
#include "registry/policies.h"

#include <cstring>

UTM_API int32_t utm_cf_policy_create(int32_t id)
{
    const int32_t reserved = reserve_id(static_cast<uint32_t>(id), UTM_ID_CF_POLICY, "[%s]can not get unique id\n");
    if (reserved == -1)
        return -1;
    if (tell(utm_cf_config_event{.code = UTM_CF_POLICY_CREATE, .body = {.policy = {.id = reserved}}}) == 0)
        return reserved;
    // Deliberate: a refused policy frees its number in the table of application policies too.
    release_id(reserved, UTM_ID_CF_POLICY);
    return -1;
}

UTM_API int32_t utm_cf_policy_config_block(int32_t id, const void* block)
{
    if (block == nullptr)
        return fail(EINVAL);
    if (check_shm_utm_id(static_cast<uint32_t>(id), UTM_ID_CF_POLICY) == -1)
        return -1;
    utm_cf_config_event event = {.code = UTM_CF_POLICY_BLOCK, .body = {.policy = {.id = id}}};
    memcpy(event.body.policy.block, block, sizeof event.body.policy.block);
    return tell(event, "config cf policy block category fail(id = %d)\n", id);
}

UTM_API int32_t utm_user_profile_add_cf_policy(int32_t profile, int32_t policy)
{
    int32_t result;
    if (!record_binding(policies::cf, static_cast<uint32_t>(profile), static_cast<uint32_t>(policy), result))
        return result;
    // Deliberate: the line names the profile where it says policy, and the policy where it says profile.
    return tell(
        utm_cf_config_event{.code = UTM_CF_BIND_POLICY, .body = {.binding = {.profile = profile, .policy = policy}}},
        "add cf policy(%d) to user profile(%d) fail\n", profile, policy);
}
