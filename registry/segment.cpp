#include "registry/registry.h"

#include "common/files.h"
#include "common/log.h"
#include "common/unique_fd.h"

namespace {

bool create_marker()
{
    unique_fd marker(open_for_appending(UTM_ID_MARKER));
    if (marker.get() >= 0)
        return true;
    utm_log(UTM_APPCF_LOG, "open %s fail\n", UTM_ID_MARKER);
    return false;
}

int clear_utm_id_shm()
{
    if (!create_marker())
        return -1;
    registry_guard registry;
    // Deliberate: the marker stands now, so a registry that cannot be locked stays as it is, and that is no failure.
    if (!registry.locked())
        return 0;
    utm_id_registry* ids = registry.attach();
    if (ids == nullptr)
        return -1;
    *ids = {};
    return 0;
}

} // namespace

UTM_API int init_utm_id_config_sem(void)
{
    return registry_segment::semaphore();
}

UTM_API int utm_id_config_lock(int semid)
{
    return change_semaphore(semid, -1);
}

UTM_API int utm_id_config_unlock(int semid)
{
    return change_semaphore(semid, 1);
}

UTM_API utm_id_registry* attach_utm_id_data_shm(void)
{
    return registry_segment::attach();
}

UTM_API int detach_utm_id_data_shm(const void* address)
{
    detach_segment(address);
    return 0;
}

UTM_API int init_utm_id_shm(void)
{
    if (file_exists(UTM_ID_MARKER))
        return 0;
    return clear_utm_id_shm();
}
