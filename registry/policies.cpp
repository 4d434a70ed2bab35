#include "registry/policies.h"

#include "common/errno_guard.h"
#include "common/log.h"

int32_t reserve_id(uint32_t requested, uint32_t kind, const char* text, const char* operation)
{
    if (init_utm_id_shm() == -1)
        return -1;
    uint32_t id = requested;
    if (reserve_unique_id(id, kind)) {
        if (static_cast<int32_t>(id) > 0)
            return static_cast<int32_t>(id);
        // A negative identifier has been reserved, but reads as a failure.
        errno = EINVAL;
    }
    utm_log(UTM_APPCF_LOG, text, operation);
    return -1;
}

void release_id(int32_t id, uint32_t kind)
{
    errno_guard keep;
    reset_utm_id_shm(static_cast<uint32_t>(id), kind);
}

bool record_binding(const policy_kind& kind, uint32_t profile, uint32_t policy, int32_t& result)
{
    result = -1;
    if (check_shm_utm_id(profile, UTM_ID_USER_PROFILE) == -1 || check_shm_utm_id(policy, kind.kind) == -1)
        return false;
    registry_guard registry;
    // Deliberate: a binding that cannot lock the registry, or unlock it again, tells nobody and reports success.
    result = 0;
    if (!registry.locked())
        return false;
    utm_id_registry* ids = registry.attach();
    if (ids == nullptr) {
        result = -1;
        return false;
    }
    // Deliberate: a profile that has left the registry since the check is still bound in the daemon.
    if (const uint32_t* slot = find_slot(ids->profiles, profile))
        (ids->*kind.bindings)[slot - ids->profiles] = policy;
    // Deliberate: a binding leaves the segment attached.
    registry.keep_attached();
    return registry.release();
}
