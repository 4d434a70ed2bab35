// The device UUID, in the common segment.

#include "kqutm/common.h"

#include "common/segment_guard.h"

#include <cstring>

namespace {

using uuid_text = char[UTM_UUID_SIZE];

struct common_segment {
    using contents = uuid_text;
    static constexpr char log[] = UTM_COMMON_LOG;
    static constexpr char attach_failed[] = "attach_utm_common_data_shm() fail\n";

    static int semaphore() { return open_semaphore(UTM_COMMON_SEMAPHORE_PROJECT); }
    static contents* attach()
    {
        const segment common = attach_segment(UTM_COMMON_SEGMENT_PROJECT, sizeof(contents));
        if (common.created && common.address != nullptr)
            memset(common.address, 0, sizeof(contents));
        return static_cast<contents*>(common.address);
    }
};
using common_guard = segment_guard<common_segment>;

} // namespace

UTM_API int init_utm_common_sem(void)
{
    return common_segment::semaphore();
}

UTM_API int utm_commoc_lock(int semid)
{
    return change_semaphore(semid, -1);
}

UTM_API int utm_commoc_unlock(int semid)
{
    return change_semaphore(semid, 1);
}

UTM_API void* attach_utm_common_data_shm(void)
{
    return common_segment::attach();
}

UTM_API int detach_utm_common_data_shm(const void* address)
{
    detach_segment(address);
    return 0;
}

UTM_API int32_t utm_uuid_set(const char* uuid)
{
    if (uuid == nullptr)
        return fail(EINVAL);
    const size_t size = strlen(uuid) + 1;
    if (size > UTM_UUID_SIZE) {
        utm_log(UTM_COMMON_LOG, "The string length is too long.\n");
        return fail(EINVAL);
    }
    common_guard common;
    if (!common.locked())
        return -1;
    uuid_text* stored = common.attach();
    if (stored == nullptr)
        return -1;
    // Deliberate: what a longer UUID left behind the terminator stays there.
    memcpy(*stored, uuid, size);
    return 0;
}

UTM_API int32_t utm_uuid_get(char* buffer, int size)
{
    if (buffer == nullptr)
        return fail(EINVAL);
    // Deliberate: the size is looked at here alone; the copy takes up to 256 bytes, whatever it says.
    if (size > UTM_UUID_SIZE) {
        utm_log(UTM_COMMON_LOG, "size error\n");
        return fail(EINVAL);
    }
    common_guard common;
    if (!common.locked())
        return -1;
    const uuid_text* stored = common.attach();
    if (stored == nullptr)
        return -1;
    const size_t length = strnlen(*stored, UTM_UUID_SIZE - 1);
    memcpy(buffer, *stored, length);
    buffer[length] = '\0';
    // Deliberate: a getter whose lock cannot be given back fails, where the setter succeeds.
    if (!common.release())
        return -1;
    return length != 0 ? 0 : fail(0);
}
