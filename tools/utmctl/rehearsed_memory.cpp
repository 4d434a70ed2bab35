#include "tools/utmctl/rehearsed_memory.h"

#include "kqutm/registry.h"

#include "tools/utmctl/libc.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <string>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

namespace {

using bytes = std::vector<uint8_t>;

constexpr int first_created = INT_MAX / 2; // far above what the kernel gives

struct registry_table {
    const char* name;
    uint32_t (utm_id_registry::*slots)[UTM_ID_SLOTS];
};

constexpr registry_table tables[] = {
    {"profiles", &utm_id_registry::profiles},         {"cf_bindings", &utm_id_registry::cf_bindings},
    {"cf_policies", &utm_id_registry::cf_policies},   {"app_bindings", &utm_id_registry::app_bindings},
    {"app_policies", &utm_id_registry::app_policies},
};

utm_id_registry registry_in(const bytes& content)
{
    utm_id_registry registry;
    memcpy(&registry, content.data(), sizeof registry);
    return registry;
}

void add_registry_changes(std::vector<json>& changes, const bytes& before, const bytes& after)
{
    const utm_id_registry old_ids = registry_in(before);
    const utm_id_registry new_ids = registry_in(after);
    for (const registry_table& table : tables) {
        for (int slot = 0; slot < UTM_ID_SLOTS; ++slot) {
            const uint32_t was = (old_ids.*table.slots)[slot];
            const uint32_t is = (new_ids.*table.slots)[slot];
            if (was != is)
                changes.push_back(
                    {{"step", "registry"}, {"table", table.name}, {"slot", slot}, {"before", was}, {"after", is}});
        }
    }
}

std::string text_in(const bytes& content)
{
    const auto* first = reinterpret_cast<const char*>(content.data());
    return {first, strnlen(first, content.size())};
}

void add_changes(std::vector<json>& changes, const bytes& before, const bytes& after)
{
    if (after.size() == sizeof(utm_id_registry))
        add_registry_changes(changes, before, after);
    else
        changes.push_back({{"step", "uuid"}, {"before", text_in(before)}, {"after", text_in(after)}});
}

const char* name_of_segment(size_t size)
{
    return size == sizeof(utm_id_registry) ? "the segment of the registry" : "the segment of the UUID";
}

// A key made of a file begins with its project.
const char* name_of_lock(key_t key)
{
    const uint32_t project = static_cast<uint32_t>(key) >> 24;
    return project == UTM_ID_SEMAPHORE_PROJECT ? "the lock of the registry" : "the lock of the UUID";
}

constexpr int without_creating(int flags)
{
    return flags & ~(IPC_CREAT | IPC_EXCL);
}

} // namespace

int rehearsed_memory::find(const created& known, key_t key, int real, int flags) const
{
    const auto found = known.find(key);
    const int id = found != known.end() ? found->second : real;
    if (id >= 0 && (flags & IPC_EXCL) != 0) {
        errno = EEXIST;
        return -1;
    }
    return id;
}

int rehearsed_memory::create(created& known, key_t key, const char* what)
{
    if (errno != ENOENT)
        return -1;
    add_({{"step", "create"}, {"what", what}});
    return known[key] = first_created + static_cast<int>(known.size());
}

int rehearsed_memory::shmget(key_t key, size_t size, int flags)
{
    int id = find(segment_ids_, key, libc<int>("shmget", key, size, without_creating(flags)), flags);
    if (id < 0 && (flags & IPC_CREAT) != 0)
        id = create(segment_ids_, key, name_of_segment(size));
    if (id >= 0)
        segments_.try_emplace(id, segment{.size = size});
    return id;
}

void* rehearsed_memory::shmat(int id)
{
    segment& one = segments_.at(id);
    if (!one.attached) {
        one.copy.resize(one.size);
        if (id < first_created) {
            const void* real = libc<void*>("shmat", id, static_cast<const void*>(nullptr), int{SHM_RDONLY});
            if (real == reinterpret_cast<void*>(-1))
                return reinterpret_cast<void*>(-1);
            memcpy(one.copy.data(), real, one.size);
            libc<int>("shmdt", real);
        }
        one.before = one.copy;
        one.attached = true;
    }
    return one.copy.data();
}

int rehearsed_memory::semget(key_t key, int count, int flags)
{
    const int id = find(semaphore_ids_, key, libc<int>("semget", key, count, without_creating(flags)), flags);
    return id < 0 && (flags & IPC_CREAT) != 0 ? create(semaphore_ids_, key, name_of_lock(key)) : id;
}

int rehearsed_memory::semctl(int id, int number, int command, long argument) const
{
    return id >= first_created || command == SETVAL ? 0 : libc<int>("semctl", id, number, command, argument);
}

std::vector<json> rehearsed_memory::take_changes()
{
    std::vector<json> changes;
    for (auto& [id, one] : segments_) {
        if (one.copy == one.before)
            continue;
        add_changes(changes, one.before, one.copy);
        one.before = one.copy;
    }
    return changes;
}
