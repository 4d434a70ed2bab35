#include "registry/registry.h"

#include "common/errno_guard.h"
#include "common/log.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <iterator>

namespace {

// Every kind that is neither 1 nor 2 is an application policy.
id_table& table_of(utm_id_registry& ids, uint32_t kind)
{
    switch (kind) {
    case UTM_ID_USER_PROFILE:
        return ids.profiles;
    case UTM_ID_CF_POLICY:
        return ids.cf_policies;
    default:
        return ids.app_policies;
    }
}

void free_slot(id_table& table, uint32_t id)
{
    if (uint32_t* slot = find_slot(table, id))
        *slot = 0;
}

// Deliberate: spins under the lock, without sleeping, until the clock shows a second that is not taken.
uint32_t id_from_clock(id_table& table)
{
    uint32_t now;
    do
        now = static_cast<uint32_t>(time(nullptr));
    while (find_slot(table, now) != nullptr);
    return now;
}

bool reserve(id_table& table, uint32_t& id)
{
    if (id != 0 && find_slot(table, id) != nullptr) {
        errno = EEXIST;
        return false;
    }
    if (id == 0)
        id = id_from_clock(table);
    uint32_t* slot = find_slot(table, 0);
    if (slot == nullptr) {
        errno = ENOSPC;
        return false;
    }
    *slot = id;
    return true;
}

const char* not_found_text(uint32_t kind)
{
    switch (kind) {
    case UTM_ID_USER_PROFILE:
        return "user profile id(%d) not found\n";
    case UTM_ID_CF_POLICY:
        return "cf policy id(%d) not found\n";
    default:
        return "app policy id(%d) not found\n";
    }
}

} // namespace

uint32_t* find_slot(id_table& table, uint32_t value)
{
    uint32_t* slot = std::find(std::begin(table), std::end(table), value);
    return slot == std::end(table) ? nullptr : slot;
}

bool reserve_unique_id(uint32_t& id, uint32_t kind)
{
    registry_guard registry;
    if (!registry.locked())
        return false;
    utm_id_registry* ids = registry.attach();
    return ids != nullptr && reserve(table_of(*ids, kind), id);
}

UTM_API int get_unique_id(uint32_t id, uint32_t kind)
{
    return reserve_unique_id(id, kind) ? static_cast<int>(id) : -1;
}

UTM_API int check_shm_utm_id(uint32_t id, uint32_t kind)
{
    registry_guard registry;
    // Deliberate: validation lets the operation go on when the registry cannot be locked.
    if (!registry.locked())
        return 0;
    utm_id_registry* ids = registry.attach();
    if (ids == nullptr)
        return -1;
    if (find_slot(table_of(*ids, kind), id) != nullptr)
        return 0;
    utm_log(UTM_APPCF_LOG, not_found_text(kind), static_cast<int>(id));
    return fail(ENOENT);
}

UTM_API int reset_utm_id_shm(uint32_t id, uint32_t kind)
{
    registry_guard registry;
    // Deliberate: releasing succeeds silently when the registry cannot be locked.
    if (!registry.locked())
        return 0;
    utm_id_registry* ids = registry.attach();
    if (ids == nullptr)
        return -1;
    if (kind == UTM_ID_USER_PROFILE) {
        free_slot(ids->profiles, id);
        return 0;
    }
    // Deliberate: releasing a policy frees its number in both policy tables.
    free_slot(ids->cf_policies, id);
    free_slot(ids->app_policies, id);
    return 0;
}
