#pragma once

#include <array>
#include <cstdint>
#include <string>

// The kinds of text that commands take: a check for the command table, and the value of a text that passed it.

using mac_address = std::array<uint8_t, 6>;

struct id_kind {
    const char* word;
    uint32_t number; // an utm_id_kind
    const char* name;
};

std::string named(const id_kind& kind, int64_t id); // "content-filter policy 70"

std::string check_any(const std::string& text);
std::string check_id(const std::string& text);
std::string check_registered_id(const std::string& text); // also one that the operations take for a failure
std::string check_id_or_zero(const std::string& text);
std::string check_mac(const std::string& text);
std::string check_state(const std::string& text); // on or off
std::string check_number(const std::string& text);
std::string check_switch(const std::string& text); // on, off or a number
std::string check_kind(const std::string& text);
std::string check_seconds(const std::string& text);

uint32_t registered_id_of(const std::string& text);
int32_t id_of(const std::string& text);
mac_address mac_of(const std::string& text);
std::string normal_mac(const std::string& text); // 02:42:ac:11:00:05
bool is_on(const std::string& state);
int32_t switch_of(const std::string& text);
const id_kind& kind_of(const std::string& text);
const id_kind& kind_of_number(uint32_t number);
double seconds_of(const std::string& text);
