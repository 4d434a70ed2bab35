#pragma once

#include "sim/scripted_daemon.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

// Records as plain bytes.

inline uint32_t u32_at(const void* record, size_t offset)
{
    uint32_t value;
    memcpy(&value, static_cast<const uint8_t*>(record) + offset, sizeof value);
    return value;
}

inline uint32_t u32_at(const sim::bytes& record, size_t offset)
{
    return u32_at(record.data(), offset);
}

template <class Pointer = void*> Pointer address_at(const void* record, size_t offset)
{
    Pointer value;
    memcpy(&value, static_cast<const uint8_t*>(record) + offset, sizeof value);
    return value;
}

inline void put_u32(sim::bytes& record, size_t offset, uint32_t value)
{
    memcpy(record.data() + offset, &value, sizeof value);
}

inline void put_text(sim::bytes& record, size_t offset, const std::string& text)
{
    memcpy(record.data() + offset, text.data(), text.size());
}

// The bytes of a record, for comparing.
inline sim::bytes bytes_of(const void* record, size_t size)
{
    const auto* first = static_cast<const uint8_t*>(record);
    return {first, first + size};
}
