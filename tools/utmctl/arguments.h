#pragma once

#include "kqutm.hpp"

#include "tools/utmctl/command.h"
#include "tools/utmctl/number.h"

#include <cstdint>
#include <string>

// The kinds of text that commands take: a check for the command table, and the value of a text that passed it.

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
kqutm::mac_address mac_of(const std::string& text);
bool is_on(const std::string& state);
int32_t switch_of(const std::string& text);
const id_kind& kind_of(const std::string& text);
const id_kind& kind_of_number(uint32_t number);
double seconds_of(const std::string& text);

// Nothing for 0, and where the text is no identifier.
template <class Id> std::optional<Id> id_or_none(const std::string& text)
{
    const std::optional<int64_t> number = number_of<int64_t>(text);
    return number ? Id::of(*number) : std::nullopt;
}

template <class Id> Id id_of(const std::string& text)
{
    return id_or_none<Id>(text).value();
}

// The identifier that a command is to take; nothing for one from the clock.
template <class Id> std::optional<Id> new_id_of(const request& asked)
{
    return asked.has("ID") ? id_or_none<Id>(asked.one("ID")) : std::nullopt;
}

inline kqutm::profile_id profile_of(const request& asked)
{
    return id_of<kqutm::profile_id>(asked.one("ID"));
}

template <utm_id_kind kind> std::string named(kqutm::identifier<kind> id)
{
    return named(kind_of_number(kind), id.number());
}
