#pragma once

#include "kqutm/registry.h"

#include "common/segment_guard.h"

using id_table = uint32_t[UTM_ID_SLOTS];

// The first slot that holds the value, or null.
uint32_t* find_slot(id_table& table, uint32_t value);

struct registry_segment {
    using contents = utm_id_registry;
    static constexpr char log[] = UTM_APPCF_LOG;
    static constexpr char attach_failed[] = "attach_utm_id_data_shm() fail\n";

    static int semaphore() { return init_utm_id_config_sem(); }
    static contents* attach() { return attach_utm_id_data_shm(); }
};
using registry_guard = segment_guard<registry_segment>;
