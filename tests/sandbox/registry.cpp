#include "tests/sandbox/registry.h"

#include "tests/sandbox/files.h"
#include "tests/sandbox/paths.h"

#include <cstdio>
#include <cstdlib>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

namespace {

constexpr size_t slot_count = 1280;

class segment {
public:
    segment()
    {
        const int id = shmget(ftok(key_file, 'a'), slot_count * sizeof(uint32_t), IPC_CREAT | 0666);
        void* address = shmat(id, nullptr, 0);
        if (address == reinterpret_cast<void*>(-1)) {
            perror("cannot attach the registry");
            abort();
        }
        slots_ = static_cast<uint32_t*>(address);
    }
    segment(const segment&) = delete;
    segment& operator=(const segment&) = delete;
    ~segment() { shmdt(slots_); }

    uint32_t* begin() const { return slots_; }
    uint32_t* end() const { return slots_ + slot_count; }

private:
    uint32_t* slots_;
};

} // namespace

slots all_slots()
{
    segment all;
    return {all.begin(), all.end()};
}

uint32_t slot(size_t number)
{
    return all_slots().at(number);
}

void set_slots(const std::map<size_t, uint32_t>& values)
{
    segment all;
    for (auto [number, value] : values)
        all.begin()[number] = value;
}

void register_ids(const std::map<size_t, uint32_t>& values)
{
    write_file(registry_marker, "");
    set_slots(values);
}

std::map<size_t, uint32_t> full(size_t array)
{
    std::map<size_t, uint32_t> all;
    for (uint32_t i = 0; i < 256; i++)
        all[array + i] = i + 1;
    return all;
}

int semaphore()
{
    const key_t key = ftok(key_file, 'b');
    const int existing = semget(key, 1, 0);
    if (existing >= 0)
        return existing;
    const int created = semget(key, 1, IPC_CREAT | 0666);
    semctl(created, 0, SETVAL, 1L);
    return created;
}

int semaphore_value()
{
    return semctl(semaphore(), 0, GETVAL, 0L);
}
