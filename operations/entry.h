#pragma once

#include "kqutm/daemon.h"
#include "operations/decode.h"

#include <cstdlib>
#include <new>

// The lists that functions hand out: circular, behind a head, with links of one of two kinds.
namespace operations {

// The members of an entry.
json entry_json(const utm_app_usage_entry& entry);
json entry_json(const utm_app_usage_prev_days_entry& entry);
json entry_json(const utm_av_entry& entry);
json entry_json(const utm_device& entry);
json entry_json(const utm_domain_browse_entry& entry);
json entry_json(const utm_ips_rule& entry);
json entry_json(const utm_ir_entry& entry);
json entry_json(const utm_profile_mapping& entry);
json entry_json(const utm_weekday_limit_entry& entry);

template <class Node>
concept has_own_links = requires(Node node)
{
    node.next;
};

template <class Node> auto* links_of(Node* node)
{
    if constexpr (has_own_links<Node>)
        return node;
    else
        return &node->links;
}

// An entry of which only the links are set, to itself.
template <class Node> Node* new_node()
{
    auto* node = static_cast<Node*>(calloc(1, sizeof(Node)));
    if (node == nullptr)
        throw std::bad_alloc();
    auto* links = links_of(node);
    links->next = links->prev = links;
    return node;
}

template <class Node> void insert_before(Node* node, Node* head)
{
    auto* at = links_of(head);
    auto* links = links_of(node);
    links->next = at;
    links->prev = at->prev;
    at->prev->next = links;
    at->prev = links;
}

} // namespace operations
