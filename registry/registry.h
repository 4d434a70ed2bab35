#pragma once

#include "kqutm/registry.h"

#include "common/segment_guard.h"

using id_table = uint32_t[UTM_ID_SLOTS];

// The first slot that holds the value, or null.
uint32_t* find_slot(id_table& table, uint32_t value);

// get_unique_id with its result apart from the identifier, which it puts into id: 2^32 - 1 reads as a failure there.
bool reserve_unique_id(uint32_t& id, uint32_t kind);

struct registry_segment {
    using contents = utm_id_registry;
    static constexpr char log[] = UTM_APPCF_LOG;
    static constexpr char attach_failed[] = "attach_utm_id_data_shm() fail\n";

    static int semaphore() { return open_semaphore(UTM_ID_SEMAPHORE_PROJECT); }
    static contents* attach()
    {
        return static_cast<contents*>(attach_segment(UTM_ID_SEGMENT_PROJECT, sizeof(contents)).address);
    }
};
using registry_guard = segment_guard<registry_segment>;
