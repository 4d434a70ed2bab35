#pragma once

#include "kqutm/daemon.h"
#include "kqutm/registry.h"

#include "tests/counts/operations.h"
#include "tests/sandbox/lists.h"

#include <bit>
#include <cstdlib>
#include <sys/shm.h>
#include <type_traits>
#include <unistd.h>

// What the operations return, by type: how it reads, and how it is released.
namespace counts {

template <class Node> Node* pointer(long value)
{
    return std::bit_cast<Node*>(value);
}

// A list reads as the number of its entries.
template <class Node, auto entries> std::string show_list(long value)
{
    return value == 0 ? "null" : std::to_string(entries(pointer<Node>(value)).size()) + " entries";
}

template <class Node, auto release> void release_list(long value)
{
    release(pointer<Node>(value));
}

template <class Entry> void free_entries(Entry* head)
{
    if (head == nullptr)
        return;
    for (Entry* entry : entries_of(head))
        free(entry);
    free(head);
}

template <class Node> void free_nodes(Node* head)
{
    if (head != nullptr)
        free_list(head);
}

template <class Node, auto entries, auto release>
inline constexpr value_kind list_of = {show_list<Node, entries>, release_list<Node, release>};

inline constexpr value_kind number = {[](long value) { return std::to_string(value); }, [](long) {}};
inline constexpr value_kind descriptor = {[](long value) { return std::string(value < 0 ? "-1" : "a descriptor"); },
                                          [](long value) { close(static_cast<int>(value)); }};
inline constexpr value_kind block = {[](long value) { return std::string(value == 0 ? "null" : "a block"); },
                                     [](long value) { free(pointer<void>(value)); }};
inline constexpr value_kind attachment = {[](long value) { return std::string(value == 0 ? "null" : "attached"); },
                                          [](long value) { shmdt(pointer<void>(value)); }};

template <class Node> inline constexpr value_kind nodes = list_of<Node, nodes_of<Node>, free_nodes<Node>>;
template <class Entry> inline constexpr value_kind entries = list_of<Entry, entries_of<Entry>, free_entries<Entry>>;

template <class Value> inline constexpr const value_kind* kind_of = &number;
template <> inline constexpr const value_kind* kind_of<void*> = &attachment;
template <> inline constexpr const value_kind* kind_of<utm_id_registry*> = &attachment;
template <> inline constexpr const value_kind* kind_of<char*> = &block;
template <> inline constexpr const value_kind* kind_of<utm_ips_message*> = &block;
template <> inline constexpr const value_kind* kind_of<utm_event_response*> = &block;
template <> inline constexpr const value_kind* kind_of<utm_ips_rule*> = &nodes<utm_ips_rule>;
template <> inline constexpr const value_kind* kind_of<utm_device*> = &nodes<utm_device>;
template <> inline constexpr const value_kind* kind_of<utm_av_entry*> = &nodes<utm_av_entry>;
template <> inline constexpr const value_kind* kind_of<utm_ir_entry*> = &nodes<utm_ir_entry>;
template <> inline constexpr const value_kind* kind_of<utm_profile_mapping*> = &nodes<utm_profile_mapping>;
template <> inline constexpr const value_kind* kind_of<utm_app_usage_entry*> = &entries<utm_app_usage_entry>;
template <> inline constexpr const value_kind* kind_of<utm_weekday_limit_entry*> = &entries<utm_weekday_limit_entry>;
template <>
inline constexpr const value_kind* kind_of<utm_app_usage_prev_days_entry*> = &entries<utm_app_usage_prev_days_entry>;
template <> inline constexpr const value_kind* kind_of<utm_domain_browse_entry*> = &entries<utm_domain_browse_entry>;

// Calls an operation; what it returns is of this kind, or of the one that goes with its type.
template <class Call> returned result_of(Call call, const value_kind* kind = nullptr)
{
    using value = decltype(call());
    if constexpr (std::is_void_v<value>) {
        call();
        return {0, &number};
    } else {
        return {(long)call(), kind != nullptr ? kind : kind_of<value>}; // a number or an address
    }
}

// A call of the operation with these arguments, as a function.
#define CALL_OF(operation, ...) [] { return counts::result_of([] { return operation(__VA_ARGS__); }); }

} // namespace counts
