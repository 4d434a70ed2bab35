#pragma once

#include "tests/sandbox/bytes.h"

#include <cstdint>
#include <initializer_list>
#include <utility>

// The library as the wire tests know it: declared by hand, so that no header of its own tells them a record's layout.
extern "C" {
int send_utm_config_event(const void* event, int target);
void* send_utm_event_and_get_response(const void* event, int target);
int32_t utm_user_profile_create(int32_t id);
int32_t utm_user_profile_delete(int32_t id);
int32_t utm_user_profile_add_dev(int32_t id, const void* mac);
int32_t utm_user_profile_del_dev(int32_t id, const void* mac);
}

constexpr uint8_t mac[] = {0xa0, 0xb1, 0xc2, 0xd3, 0xe4, 0xf5};

// A record that is zero but for the bytes named by their offsets.
inline sim::bytes record(size_t size, std::initializer_list<std::pair<size_t, uint8_t>> named)
{
    sim::bytes all(size);
    for (auto [offset, value] : named)
        all[offset] = value;
    return all;
}
