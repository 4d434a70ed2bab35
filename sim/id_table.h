#pragma once

#include "sim/json_form.h"

#include <map>

namespace sim {

// What a daemon keeps by identifier: profiles, policies. In JSON a list of objects, each with its "id".
template <class Entry> class id_table {
public:
    // Null where the identifier is taken.
    Entry* create(int32_t id)
    {
        auto [entry, is_new] = entries_.try_emplace(id);
        return is_new ? &entry->second : nullptr;
    }

    bool erase(int32_t id) { return entries_.erase(id) == 1; }
    void clear() { entries_.clear(); }

    // Null where the identifier is unknown.
    Entry* find(int32_t id)
    {
        auto found = entries_.find(id);
        return found == entries_.end() ? nullptr : &found->second;
    }

    std::map<int32_t, Entry>& entries() { return entries_; }
    const std::map<int32_t, Entry>& entries() const { return entries_; }

private:
    std::map<int32_t, Entry> entries_;
};

template <class Entry> struct json_form<id_table<Entry>> {
    static json write(const id_table<Entry>& table)
    {
        json list = json::array();
        for (const auto& [id, entry] : table.entries()) {
            json object = {{"id", id}};
            write_members(object, entry);
            list.push_back(std::move(object));
        }
        return list;
    }

    static void read(id_table<Entry>& table, const json& form, const std::string& where)
    {
        table.clear();
        for (const json& member : array_at(form, where)) {
            json_object object(member, where);
            const auto id = number_at<int32_t>(object.at("id"), object.where("id"));
            Entry* entry = table.create(id);
            if (entry == nullptr)
                throw input_error(object.where("id") + ": " + std::to_string(id) + " is there twice");
            read_members(*entry, object);
            object.finish();
        }
    }
};

} // namespace sim
