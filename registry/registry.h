#pragma once

#include "kqutm/registry.h"

using id_table = uint32_t[UTM_ID_SLOTS];

// The first slot that holds the value, or null.
uint32_t* find_slot(id_table& table, uint32_t value);

// The registry, locked from construction to destruction where that is possible. Callers answer differently to a
// registry that cannot be locked and to one that cannot be attached, so the two are told apart.
class registry_guard {
public:
    registry_guard();
    registry_guard(const registry_guard&) = delete;
    registry_guard& operator=(const registry_guard&) = delete;
    ~registry_guard();

    bool locked() const { return locked_; }

    // The registry's identifiers, or null when the segment cannot be attached; attach logs that.
    utm_id_registry* attach();
    utm_id_registry* attach_unlogged();

    // Lets release leave the segment attached.
    void keep_attached() { ids_ = nullptr; }

    // Leaves the registry as it is: attached, and locked until the process ends.
    void abandon();

    // Detaches and unlocks. False when unlocking failed.
    bool release();

private:
    int semid_;
    bool locked_ = false;
    utm_id_registry* ids_ = nullptr;
};
