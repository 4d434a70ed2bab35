#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

// The registry as any process on the gateway sees it, without the library: 1280 slots of 4 bytes.

using slots = std::vector<uint32_t>;

// Where the arrays begin.
constexpr size_t profiles = 0;
constexpr size_t cf_bindings = 256;
constexpr size_t cf_policies = 512;
constexpr size_t app_bindings = 768;
constexpr size_t app_policies = 1024;

// All slots, in order. Creates the segment where there is none.
slots all_slots();
uint32_t slot(size_t number);
void set_slots(const std::map<size_t, uint32_t>& values);

// The same in a registry that the first use does not clear.
void register_ids(const std::map<size_t, uint32_t>& values);

// The identifiers 1 to 256, which fill an array.
std::map<size_t, uint32_t> full(size_t array);

// The registry's semaphore; it is created with value 1 where there is none.
int semaphore();
int semaphore_value();
