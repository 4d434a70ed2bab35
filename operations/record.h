#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

// Records as they cross a socket, and single values at their offsets.
namespace operations {

using record = std::vector<uint8_t>;

template <class T> T from_record(const record& bytes)
{
    T value = {};
    memcpy(&value, bytes.data(), std::min(sizeof value, bytes.size()));
    return value;
}

template <class T> record to_record(const T& value)
{
    const auto* first = reinterpret_cast<const uint8_t*>(&value);
    return {first, first + sizeof value};
}

// The little-endian number of width bytes at offset; bytes beyond the end count as zero.
inline uint32_t number_at(const record& bytes, size_t offset, size_t width)
{
    uint32_t number = 0;
    if (offset < bytes.size())
        memcpy(&number, bytes.data() + offset, std::min(width, bytes.size() - offset));
    return number;
}

inline void put_number(record& bytes, size_t offset, size_t width, uint32_t number)
{
    memcpy(bytes.data() + offset, &number, width);
}

} // namespace operations
