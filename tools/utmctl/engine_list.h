#pragma once

#include "tools/utmctl/engine_deed.h"
#include "tools/utmctl/json_table.h"
#include "tools/utmctl/worker.h"

#include <functional>

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

// A list as it travels from the worker: its entries, and the errno that tells why there are no more.
template <class Node> json json_of(const kqutm::list<Node>& list, const std::vector<list_field<Node>>& fields)
{
    json entries = json::array();
    for (const Node& node : list) {
        json& entry = entries.emplace_back(json::object());
        for (const list_field<Node>& field : fields)
            entry[field.name] = field.of(node);
    }
    return {{"entries", std::move(entries)}, {"error", list.broken_off().value_or(kqutm::cause()).error}};
}

// What came of such a list: its entries as far as they came, and the problem of one that came in part or not at all.
outcome told_of_list(const service& daemon, const std::string& subject, const std::vector<shown_member>& members,
                     const kqutm::result<json>& list);

// Fetches a list in a worker, and tells it as far as it came.
template <class Node>
outcome fetch_list(const list_row<Node>& row, const std::function<kqutm::result<kqutm::list<Node>>()>& fetch,
                   double timeout, bool raw = false)
{
    std::vector<list_field<Node>> fields(row.fields.begin(), row.fields.end());
    if (raw)
        fields.insert(fields.end(), row.raw_fields.begin(), row.raw_fields.end());
    std::vector<shown_member> members;
    for (const list_field<Node>& field : fields)
        members.push_back({field.name, field.shown});
    const auto as_json = [&](const kqutm::list<Node>& list) { return json_of(list, fields); };
    const call_result call =
        call_in_worker(std::string(row.subject) + " were not listed", timeout,
                       [&] { return fetch().transform(as_json); }, {.daemons = {row.daemon}, .registry_lock = false});
    return told_of_list(row.daemon, row.subject, members, call.result);
}

// A list without arguments as the run function of a command.
template <const auto& row, auto fetch> outcome show_list(const request& asked)
{
    return fetch_list(row, {fetch}, asked.timeout);
}
