#pragma once

#include "kqutm/hpp/lists.hpp"
#include "kqutm/registry.h"
#include "operations/entry.h"
#include "operations/record.h"

#include <concepts>
#include <string>

// What functions return, told and then released.
namespace operations {

template <std::integral Number> json told_and_released(Number number)
{
    return number;
}

template <class Node> json told_and_released(Node* head)
{
    if (head == nullptr)
        return {};
    const kqutm::list<Node> owned(head);
    json entries = json::array();
    for (const Node& entry : owned)
        entries.push_back(entry_json(entry));
    return entries;
}

json told_and_released(char* text);
json told_and_released(utm_ips_message* reply);
json told_and_released(utm_id_registry* segment);
json told_and_released(void* common_segment);

// One entry, of which only the links are not set.
template <class Node> json node_told_and_released(Node* node)
{
    if (node == nullptr)
        return {};
    json entry = entry_json(*node);
    free(node);
    return entry;
}

json descriptor_told_and_closed(int descriptor);

} // namespace operations
