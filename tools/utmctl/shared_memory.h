#pragma once

#include "kqutm/registry.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

// The System V segments of the machine. Looking at them creates none.

struct segment_row {
    key_t key;
    int id;
    unsigned mode;
    size_t size;

    int project() const { return static_cast<int>(static_cast<uint32_t>(key) >> 24); }
};

std::vector<segment_row> all_segments();

// The key that a project number makes of the library's file; nothing where the file is missing.
std::optional<key_t> key_of(int project);

// The segment of the present key.
std::optional<segment_row> find_segment(int project);

// Its bytes; fewer than its size when it may not be read.
std::string content_of(const segment_row& segment);

// As much of a registry as the bytes hold.
utm_id_registry registry_in(const std::string& bytes);
