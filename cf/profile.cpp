#include "kqutm/profile.h"
#include "kqutm/daemon.h"
#include "kqutm/registry.h"

#include "common/errno_guard.h"
#include "common/log.h"
#include "event/exchange.h"
#include "registry/policies.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

// The body of every event of a profile: its identifier, and the device where the code concerns one.
struct profile_event {
    uint8_t code;
    int32_t id;
    const uint8_t* mac = nullptr;
};

template <size_t Size> void put_mac(uint8_t (&field)[Size], const profile_event& event)
{
    if (event.mac != nullptr)
        memcpy(field, event.mac, Size);
}

bool tell_content_filter(const profile_event& event)
{
    utm_cf_config_event record = {.code = event.code, .body = {.profile = {.id = event.id}}};
    put_mac(record.body.profile.mac, event);
    return tell(record) == 0;
}

bool tell_application(const profile_event& event)
{
    utm_app_config_event record = {.code = event.code, .body = {.profile = {.id = event.id}}};
    put_mac(record.body.profile.mac, event);
    return tell(record) == 0;
}

bool tell_user_profile(const profile_event& event)
{
    utm_user_profile_config_event record = {.code = event.code, .id = event.id};
    put_mac(record.mac, event);
    return tell(record) == 0;
}

// What a device operation logs when a daemon refuses it.
struct device_texts {
    const char* refused;
    const char* refused_by_application;
};

void log_failure(const char* text, int32_t id)
{
    utm_log(UTM_APPCF_LOG, text, id);
}

int32_t change_device(const profile_event& event, const device_texts& texts)
{
    if (event.mac == nullptr)
        return fail(EINVAL);
    if (check_shm_utm_id(static_cast<uint32_t>(event.id), UTM_ID_USER_PROFILE) == -1)
        return -1;
    if (!tell_content_filter(event))
        log_failure(texts.refused, event.id);
    if (!tell_application(event))
        log_failure(texts.refused_by_application, event.id);
    if (tell_user_profile(event))
        return 0;
    log_failure(texts.refused, event.id);
    return -1;
}

// Frees the policy bound to a deleted profile in every slot that holds it, then the binding.
void free_bound_policy(uint32_t policy, id_table& policies, uint32_t& binding)
{
    if (static_cast<int32_t>(policy) <= 0)
        return;
    std::replace(std::begin(policies), std::end(policies), policy, 0U);
    binding = 0;
}

constexpr char delete_failed[] = "delete user profile fail(id = %d)\n";

// Deliberate: the profile's slot is freed as soon as one of the two daemons has accepted.
int32_t delete_registered(utm_id_registry& ids, size_t slot, int32_t id)
{
    const uint32_t cf_policy = ids.cf_bindings[slot];
    const uint32_t app_policy = ids.app_bindings[slot];
    const profile_event event = {.code = UTM_PROFILE_DELETE, .id = id};
    if (tell_content_filter(event)) {
        free_bound_policy(cf_policy, ids.cf_policies, ids.cf_bindings[slot]);
        ids.profiles[slot] = 0;
    } else {
        log_failure(delete_failed, id);
    }
    if (tell_application(event)) {
        free_bound_policy(app_policy, ids.app_policies, ids.app_bindings[slot]);
        ids.profiles[slot] = 0;
    } else {
        log_failure(delete_failed, id);
    }
    if (tell_user_profile(event))
        return 0;
    log_failure(delete_failed, id);
    return -1;
}

} // namespace

// Deliberate: all three daemons are always told, each refusal releases the identifier, and the application daemon alone
// decides the result. An identifier that an earlier refusal released is still returned.
UTM_API int32_t utm_user_profile_create(int32_t id)
{
    const int32_t reserved = reserve_id(static_cast<uint32_t>(id), UTM_ID_USER_PROFILE, "[%s]can not get unique id\n");
    if (reserved == -1)
        return -1;
    const profile_event event = {.code = UTM_PROFILE_CREATE, .id = reserved};
    if (!tell_content_filter(event))
        release_id(reserved, UTM_ID_USER_PROFILE);
    if (!tell_user_profile(event))
        release_id(reserved, UTM_ID_USER_PROFILE);
    if (tell_application(event))
        return reserved;
    release_id(reserved, UTM_ID_USER_PROFILE);
    return -1;
}

// The registry stays locked across all three sends.
UTM_API int32_t utm_user_profile_delete(int32_t id)
{
    registry_guard registry;
    if (!registry.locked())
        return -1;
    utm_id_registry* ids = registry.attach();
    if (ids == nullptr)
        return -1;
    const uint32_t* slot = find_slot(ids->profiles, static_cast<uint32_t>(id));
    if (slot == nullptr) {
        utm_log(UTM_APPCF_LOG, "delete user profile fail(id(%d) not found)\n", id);
        return fail(ENOENT);
    }
    return delete_registered(*ids, static_cast<size_t>(slot - ids->profiles), id);
}

UTM_API int32_t utm_user_profile_add_dev(int32_t id, const uint8_t* mac)
{
    return change_device({.code = UTM_PROFILE_ADD_DEVICE, .id = id, .mac = mac},
                         {.refused = "add mac to user profile fail(id = %d)\n",
                          .refused_by_application = "add mac to user profile(app) fail(id = %d)\n"});
}

UTM_API int32_t utm_user_profile_del_dev(int32_t id, const uint8_t* mac)
{
    return change_device({.code = UTM_PROFILE_DELETE_DEVICE, .id = id, .mac = mac},
                         {.refused = "delete mac from user profile fail(id = %d)\n",
                          .refused_by_application = "delete mac from user profile(app) fail(id = %d)\n"});
}

UTM_API int32_t utm_user_profile_flush(void)
{
    registry_guard registry;
    // Deliberate: a flush that cannot lock the registry, or unlock it again, deletes nothing and reports success.
    if (!registry.locked())
        return 0;
    const utm_id_registry* ids = registry.attach();
    if (ids == nullptr)
        return -1;
    const utm_id_registry snapshot = *ids; // each delete takes the lock itself
    if (!registry.release())
        return 0;
    for (uint32_t id : snapshot.profiles) {
        if (static_cast<int32_t>(id) > 0)
            utm_user_profile_delete(static_cast<int32_t>(id));
    }
    return 0;
}
