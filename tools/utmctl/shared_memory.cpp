#include "tools/utmctl/shared_memory.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <sstream>
#include <sys/ipc.h>
#include <sys/shm.h>

namespace {

constexpr char key_file[] = KQUTM_IPC_KEY_FILE;

} // namespace

std::vector<segment_row> all_segments()
{
    std::ifstream file("/proc/sysvipc/shm");
    std::string line;
    std::getline(file, line); // the headings
    std::vector<segment_row> rows;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        segment_row row = {};
        if (words >> row.key >> row.id >> std::oct >> row.mode >> std::dec >> row.size)
            rows.push_back(row);
    }
    return rows;
}

std::optional<key_t> key_of(int project)
{
    const key_t key = ftok(key_file, project);
    return key == -1 ? std::nullopt : std::optional(key);
}

std::optional<segment_row> find_segment(int project)
{
    const std::optional<key_t> key = key_of(project);
    for (const segment_row& one : all_segments()) {
        if (key && one.key == *key)
            return one;
    }
    return {};
}

std::string content_of(const segment_row& segment)
{
    // By its key, as a rehearsal knows segments.
    void* address = shmat(shmget(segment.key, segment.size, 0), nullptr, SHM_RDONLY);
    if (address == reinterpret_cast<void*>(-1))
        return "";
    std::string bytes(static_cast<const char*>(address), segment.size);
    shmdt(address);
    return bytes;
}

utm_id_registry registry_in(const std::string& bytes)
{
    utm_id_registry registry = {};
    memcpy(&registry, bytes.data(), std::min(sizeof registry, bytes.size()));
    return registry;
}
