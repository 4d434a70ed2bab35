// Debug, flush and the browsed domains: what the content-filter daemon is asked for in one exchange.

#include "kqutm/cf.h"
#include "kqutm/registry.h"

#include "event/exchange.h"

namespace {

int32_t tell_value(uint8_t code, int32_t value, const char* failed, const char* operation = __builtin_FUNCTION())
{
    return tell(utm_cf_config_event{.code = code, .body = {.value = value}}, failed, operation, value);
}

} // namespace

UTM_API int32_t utm_cf_debug(int32_t value)
{
    return tell_value(UTM_CF_DEBUG, value, "[%s] fail(activate = %d)\n");
}

UTM_API int32_t utm_cf_global_flush(int32_t type)
{
    return tell_value(UTM_CF_GLOBAL_FLUSH, type, "[%s] fail(flush_type = %d)\n");
}

UTM_API int32_t utm_cf_policy_flush(int32_t type, int32_t policy)
{
    if (policy != 0 && check_shm_utm_id(static_cast<uint32_t>(policy), UTM_ID_CF_POLICY) == -1)
        return -1;
    return tell(utm_cf_config_event{.code = UTM_CF_POLICY_FLUSH, .body = {.flush = {.policy = policy, .type = type}}},
                "[%s] fail(flush_type = %d, cf_policy_id = %d)\n", __func__, type, policy);
}

UTM_API utm_domain_browse_entry* utm_user_profile_get_browse_domain_list(int32_t profile)
{
    return ask_for_list(utm_cf_config_event{.code = UTM_CF_GET_BROWSED_DOMAINS, .body = {.profile = {.id = profile}}},
                        &utm_event_response::domain_browse_list, "get utm_user_profile_get_browse_domain_list fail\n");
}
