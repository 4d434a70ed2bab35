#include "tools/utmctl/registry_view.h"

#include "tools/utmctl/worker.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr char key_file[] = KQUTM_IPC_KEY_FILE;

using slots = std::vector<uint32_t>;

json failed_step(const char* cause)
{
    const int error = errno;
    return {{"cause", cause}, {"error", error}};
}

json copy_of(const utm_id_registry& registry)
{
    const auto* first = reinterpret_cast<const uint32_t*>(&registry);
    return {{"slots", slots(first, first + sizeof registry / sizeof *first)}};
}

json read_under_lock()
{
    const kqutm::registry_lock lock;
    if (!lock)
        return failed_step(lock.is_open() ? "cannot be used: its semaphore cannot be locked"
                                          : "cannot be used: its semaphore cannot be opened");
    const utm_id_registry* registry = attach_utm_id_data_shm();
    json reading =
        registry == nullptr ? failed_step("cannot be used: its segment cannot be attached") : copy_of(*registry);
    detach_utm_id_data_shm(registry);
    return reading;
}

utm_id_registry read(const std::string& what, double seconds, const awaited& whom)
{
    const json reading = *call_in_worker(what, seconds, read_under_lock, whom).result;
    if (!reading.contains("slots"))
        throw failure(registry_problem(what, reading["cause"], reading["error"]));
    utm_id_registry registry;
    const slots copied = reading["slots"];
    std::copy(copied.begin(), copied.end(), reinterpret_cast<uint32_t*>(&registry));
    return registry;
}

} // namespace

problem keyed_problem(const char* name, const std::string& what, const std::string& cause, int error)
{
    const std::string reason = error == 0 ? "" : std::string(": ") + strerror(error);
    const bool without_key = access(key_file, F_OK) != 0;
    return {.status = exit_status::registry_unusable,
            .what = what,
            .culprits = {{name, key_file, cause + reason}},
            .next = without_key ? std::string("install the library at ") + key_file + ", which is its key file"
                                : "look with 'ipcs -sm' whose semaphore and segment are in the way"};
}

problem registry_problem(const std::string& what, const std::string& cause, int error)
{
    return keyed_problem("the ID registry", what, cause, error);
}

problem registry_refusal(const std::string& what, int error)
{
    if (error == EEXIST)
        return {.status = exit_status::refused,
                .what = what,
                .culprits = {{"the ID registry", "", "holds that identifier already"}},
                .next = "choose another identifier, or none to get one from the clock"};
    return {.status = exit_status::refused,
            .what = what,
            .culprits = {{"the ID registry", "", "holds 256 of them, and has no free slot"}},
            .next = "delete one that is not needed any more"};
}

utm_id_registry read_registry(const std::string& what, double seconds)
{
    return read(what, seconds, {.without_lock = what});
}

utm_id_registry read_registry_again(const std::string& what, double seconds)
{
    return read(what, seconds, {});
}

utm_id_registry registry_without_lock()
{
    utm_id_registry registry = {};
    const key_t key = ftok(key_file, UTM_ID_SEGMENT_PROJECT);
    const int segment = key == -1 ? -1 : shmget(key, sizeof registry, 0);
    const void* address = segment < 0 ? nullptr : shmat(segment, nullptr, SHM_RDONLY);
    if (address == nullptr || address == reinterpret_cast<void*>(-1))
        return registry;
    memcpy(&registry, address, sizeof registry);
    shmdt(address);
    return registry;
}

bool registry_was_cleared()
{
    return access(UTM_ID_MARKER, F_OK) == 0;
}

std::span<const uint32_t, UTM_ID_SLOTS> ids_of(const utm_id_registry& registry, uint32_t kind)
{
    switch (kind) {
    case UTM_ID_USER_PROFILE:
        return registry.profiles;
    case UTM_ID_CF_POLICY:
        return registry.cf_policies;
    default:
        return registry.app_policies;
    }
}

bool is_registered(const utm_id_registry& registry, uint32_t kind, uint32_t id)
{
    auto ids = ids_of(registry, kind);
    return std::find(ids.begin(), ids.end(), id) != ids.end();
}

bool is_empty(const utm_id_registry& registry)
{
    const utm_id_registry empty = {};
    return memcmp(&registry, &empty, sizeof empty) == 0;
}
