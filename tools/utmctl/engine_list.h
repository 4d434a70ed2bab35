#pragma once

#include "tools/utmctl/deed.h"
#include "tools/utmctl/json_table.h"
#include "tools/utmctl/worker.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

// The lists that the engines' daemons send, as tables and as JSON.

template <class Node> struct list_field {
    const char* name; // in results
    column shown;
    json (*of)(const Node& entry);
};

template <class Node> struct list_row {
    const service& daemon;
    const char* subject; // "the devices"
    std::span<const list_field<Node>> fields;
    std::span<const list_field<Node>> raw_fields = {}; // shown besides with --raw
};

// What is known of a list whose stream has ended: a number of entries, and the errno of the operation.
struct list_end {
    bool asked; // there is a list, even if it is empty
    size_t entries;
    int error;
};

// Adds the problem of a list that did not come, or not to its end.
void tell_end(outcome& listed, const service& daemon, const std::string& subject, const list_end& end);

// A text of a record, which may fill its field without a terminator.
template <size_t size> std::string text_of(const char (&field)[size])
{
    return {field, strnlen(field, size)};
}

// The nodes of a circular list as they lie in memory, and the list released.
template <class Node> json pack(Node* list, int error)
{
    json packed = {{"asked", list != nullptr}, {"error", error}};
    std::vector<uint8_t> bytes;
    while (list != nullptr && list->next != list) {
        Node* first = list->next;
        const auto* data = reinterpret_cast<const uint8_t*>(first);
        bytes.insert(bytes.end(), data, data + sizeof(Node));
        list->next = first->next;
        free(first);
    }
    free(list);
    packed["nodes"] = json::binary(std::move(bytes));
    return packed;
}

template <class Node> std::vector<Node> unpack(const json& packed)
{
    const json::binary_t& bytes = packed["nodes"].get_binary();
    std::vector<Node> nodes(bytes.size() / sizeof(Node));
    if (!nodes.empty())
        memcpy(static_cast<void*>(nodes.data()), bytes.data(), bytes.size());
    return nodes;
}

template <class Node>
outcome tell_list(const std::vector<Node>& nodes, const std::vector<const list_field<Node>*>& fields)
{
    json entries = json::array();
    for (const Node& node : nodes) {
        json& entry = entries.emplace_back(json::object());
        for (const auto* field : fields)
            entry[field->name] = field->of(node);
    }
    std::vector<shown_member> members;
    for (const auto* field : fields)
        members.push_back({field->name, field->shown});
    return {.result = {{"entries", entries}}, .rows = table_of(entries, members)};
}

// Fetches a list in a worker, and tells it as far as it came.
template <class Node>
outcome fetch_list(const list_row<Node>& row, const std::function<Node*()>& fetch, double timeout, bool raw = false)
{
    const call_result call = call_in_worker(std::string(row.subject) + " were not listed", timeout,
                                            [&] {
                                                Node* list = fetch();
                                                return pack(list, errno);
                                            },
                                            {.daemons = {row.daemon}, .registry_lock = false});
    const std::vector<Node> nodes = unpack<Node>(call.value);
    std::vector<const list_field<Node>*> fields;
    for (const auto& field : row.fields)
        fields.push_back(&field);
    for (const auto& field : row.raw_fields) {
        if (raw)
            fields.push_back(&field);
    }
    outcome listed = tell_list(nodes, fields);
    tell_end(listed, row.daemon, row.subject, {call.value["asked"], nodes.size(), call.value["error"]});
    return listed;
}

// A list without arguments as the run function of a command.
template <const auto& row, auto fetch> outcome show_list(const request& asked)
{
    return fetch_list(row, {fetch}, asked.timeout);
}
