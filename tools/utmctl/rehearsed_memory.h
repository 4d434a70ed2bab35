#pragma once

#include "tools/utmctl/rehearsal_note.h"

#include <cstdint>
#include <map>
#include <sys/types.h>
#include <utility>
#include <vector>

// The System V objects of a rehearsal: segments are private copies of the machine's, and locks are free.
class rehearsed_memory {
public:
    explicit rehearsed_memory(note add) : add_(std::move(add)) {}

    int shmget(key_t key, size_t size, int flags);
    void* shmat(int id);
    int semget(key_t key, int count, int flags);
    int semctl(int id, int number, int command, long argument) const;

    // What has changed in the copies since the last time, as steps.
    std::vector<json> take_changes();

private:
    struct segment {
        size_t size;
        bool attached = false;
        std::vector<uint8_t> copy = {};
        std::vector<uint8_t> before = {};
    };
    using created = std::map<key_t, int>; // identifiers by key

    int find(const created& known, key_t key, int real, int flags) const;
    int create(created& known, key_t key, const char* what);

    note add_;
    created segment_ids_;
    created semaphore_ids_;
    std::map<int, segment> segments_;
};
