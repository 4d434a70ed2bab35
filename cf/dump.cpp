#include "cf/dump.h"

#include "kqutm/cf.h"

#include "common/shell.h"

#include <unistd.h>

namespace {

constexpr size_t command_size = 1024;
constexpr size_t path_size = sizeof utm_cf_config_event{}.body.path;
static_assert(path_size == sizeof utm_app_config_event{}.body.path);

void dump_profiles(const char* path, const utm_id_registry& ids, const policy_kind& kind)
{
    run_shell<command_size>("echo ====Dump user profile ID[shared memory] >> %s", path);
    for (int slot = 0; slot < UTM_ID_SLOTS; ++slot) {
        if (ids.profiles[slot] != 0)
            run_shell<command_size>("echo User profile ID[%d] = %d - bind %s id = %d >> %s", slot,
                                    static_cast<int>(ids.profiles[slot]), kind.name,
                                    static_cast<int>((ids.*kind.bindings)[slot]), path);
    }
}

void dump_policies(const char* path, const utm_id_registry& ids, const policy_kind& kind)
{
    run_shell<command_size>("echo ====Dump %s policy ID[shared memory] >> %s", kind.name, path);
    const id_table& policies = ids.*kind.policies;
    for (int slot = 0; slot < UTM_ID_SLOTS; ++slot) {
        if (policies[slot] != 0)
            run_shell<command_size>("echo %s policy ID[%d] = %d >> %s", kind.name, slot,
                                    static_cast<int>(policies[slot]), path);
    }
}

bool refuse_path()
{
    errno = EINVAL;
    return false;
}

} // namespace

bool begin_dump(const char* path)
{
    if (path == nullptr)
        return refuse_path();
    if (init_utm_id_shm() == -1)
        return false;
    // Deliberate: the path is looked at after the registry, which a refused dump may have cleared.
    if (strlen(path) >= path_size)
        return refuse_path();
    unlink(path);
    run_shell<command_size>("date >> %s", path);
    return true;
}

// The lock is held while the commands run.
bool dump_registry(const char* path, const policy_kind& kind)
{
    registry_guard registry;
    if (!registry.locked())
        return false;
    const utm_id_registry* ids = registry.attach_unlogged();
    if (ids == nullptr)
        return false;
    dump_profiles(path, *ids, kind);
    dump_policies(path, *ids, kind);
    if (!registry.release())
        return false;
    run_shell<command_size>("echo >> %s", path);
    return true;
}

UTM_API int32_t utm_cf_dump_all(const char* path)
{
    if (!begin_dump(path))
        return -1;
    dump_cf_activate(path);
    return finish_dump<utm_cf_config_event>(UTM_CF_DUMP, path, policies::cf);
}
