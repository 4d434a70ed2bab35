#pragma once

#include <cstddef>
#include <cstdint>

// The least that can do an operation's work: exactly the system calls that it has to make, written out, and nothing
// else. No check, no guard against SIGPIPE, no clean-up of a failure.
namespace bench::floor {

void config_send(const void* event, size_t size, const char* path);
void* config_read(const void* event, size_t size, const char* path); // the response, with its list
void* devices(const char* count);
void engine_exchange(const char* path, void* record, size_t size, int limits);
void ir_exchange();

void check_id(uint32_t id);
void reserve_and_release(uint32_t id);
void bind(uint32_t profile, uint32_t policy);
void* mapping();
void add_device(uint32_t profile);
void get_uuid(char* text);

void log_line(const char* path, const char* text, size_t size);

} // namespace bench::floor
