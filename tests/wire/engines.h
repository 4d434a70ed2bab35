#pragma once

#include "tests/engines/engines.h"
#include "tests/wire/exchange.h"

// The engine clients as the wire tests know them: declared by hand, so that no header of the library tells them a
// record's layout.
extern "C" {
int32_t utm_ips_activate(uint32_t on);
void* utm_ips_show_status();
int32_t utm_ips_set_whitelist(const char* rule, uint32_t action);
int32_t utm_ips_set_blacklist(const char* rule, uint32_t action);
void* utm_ips_show_customizelist();
int32_t utm_ips_update_signature(const char* path);
int32_t utm_ips_debug(uint32_t on);
int32_t utm_ips_reset();
int32_t utm_ips_flush(uint32_t mode);

int32_t utm_devid_activate(uint32_t on);
int32_t utm_devid_get_status(void* out);
void* utm_devid_get_device_list();
void* utm_devid_get_device_list_by_ip(const char* ip);
void* utm_devid_get_device_list_by_interface(const char* ifname);
void* utm_devid_get_device_list_by_mac(const char* mac);
int32_t utm_devid_cache_set_max_size(uint32_t mb);
int32_t utm_devid_flush_cache_list();
uint64_t utm_devid_get_latest_timestamp();
int32_t utm_devid_debug(uint32_t on);
int32_t utm_devid_show_all_list();
int32_t utm_devid_reset();
int32_t utm_devid_set_ignore_iface(const char* ifname, uint32_t op);

int32_t utm_av_activate(uint32_t on);
int32_t utm_av_show_status(void* out);
int32_t utm_av_cache_set_max_size(uint32_t limit);
void* utm_av_show_cache();
int32_t utm_av_set_whitelist(const char* entry, uint32_t operation);
void* utm_av_show_whitelist();
int32_t utm_av_debug(uint32_t on);
int32_t utm_av_reset();
int32_t utm_av_flush();

int32_t utm_ir_activate(int32_t on);
int32_t utm_ir_debug(int32_t on);
int32_t utm_ir_db_set_update_check_freq(uint32_t value);
int32_t utm_ir_db_set_max_size_mb(int32_t size);
int32_t utm_ir_db_set_threat_category(uint32_t value);
int32_t utm_ir_db_set_whitelist(uint32_t value, uint16_t second_value, int32_t operation);
int32_t utm_ir_db_set_blacklist(uint32_t value, uint16_t second_value, int32_t operation);
int32_t utm_ir_flush(uint32_t mode);
void* utm_ir_db_get_whitelist();
void* utm_ir_db_get_blacklist();
int32_t utm_ir_load_db(const char* path);
char* utm_ir_show_db_status();
}

// A request that is zero but for a text at an offset and the bytes named by their offsets.
inline sim::bytes record_with_text(size_t size, size_t offset, const std::string& text,
                                   std::initializer_list<std::pair<size_t, uint8_t>> named)
{
    sim::bytes all = record(size, named);
    put_text(all, offset, text);
    return all;
}

// What an operation sends to the daemon at this path, which closes without an answer.
template <class Operation> sim::bytes request_of(const char* path, Operation operation)
{
    engine_daemon daemon(path, records{});
    operation();
    const std::vector<sim::bytes> requests = daemon.requests();
    EXPECT_EQ(requests.size(), 1U);
    return requests.empty() ? sim::bytes{} : requests.front();
}
