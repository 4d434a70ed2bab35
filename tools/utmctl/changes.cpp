#include "tools/utmctl/changes.h"

#include "tools/utmctl/json_text.h"

#include <algorithm>
#include <set>

namespace {

using changes = std::vector<change>;

std::string member_of(std::string path, const std::string& name)
{
    return path.append(".").append(name);
}

std::string entry_of(std::string path, const std::string& key)
{
    return path.append("[").append(key).append("]");
}

changes one_change(const char* kind, const std::string& path, const json& before, const json& after)
{
    return {{.kind = kind, .path = path, .before = before, .after = after}};
}

changes added(const std::string& path, const json& what)
{
    return one_change("added", path, {}, what);
}

changes removed(const std::string& path, const json& what)
{
    return one_change("removed", path, what, {});
}

void append(changes& to, const changes& from)
{
    to.insert(to.end(), from.begin(), from.end());
}

// How long an answer took is another time each time, and no change.
bool is_noise(const std::string& member)
{
    return member == "milliseconds";
}

changes compare_objects(const std::string& path, const json& before, const json& after)
{
    changes found;
    for (const auto& [name, value] : before.items()) {
        if (is_noise(name))
            continue;
        if (!after.contains(name))
            append(found, removed(member_of(path, name), value));
        else
            append(found, changes_between(member_of(path, name), value, after.at(name)));
    }
    for (const auto& [name, value] : after.items()) {
        if (!before.contains(name))
            append(found, added(member_of(path, name), value));
    }
    return found;
}

// The member by which an entry is known.
const json& key_of(const json& entry)
{
    return entry.contains("id") ? entry.at("id") : entry.front();
}

// Whether the key of each entry tells it from all others.
bool has_keys(const json& list)
{
    std::set<std::string> keys;
    return std::all_of(list.begin(), list.end(), [&](const json& entry) {
        return entry.is_object() && !entry.empty() && keys.insert(shown_text(key_of(entry))).second;
    });
}

json by_keys(const json& list)
{
    json entries = json::object();
    for (const json& entry : list)
        entries[shown_text(key_of(entry))] = entry;
    return entries;
}

changes compare_keyed(const std::string& path, const json& before, const json& after)
{
    const json old_entries = by_keys(before);
    const json new_entries = by_keys(after);
    changes found;
    for (const auto& [key, entry] : old_entries.items()) {
        const std::string place = entry_of(path, key);
        if (!new_entries.contains(key))
            append(found, removed(place, entry));
        else
            append(found, changes_between(place, entry, new_entries.at(key)));
    }
    for (const auto& [key, entry] : new_entries.items()) {
        if (!old_entries.contains(key))
            append(found, added(entry_of(path, key), entry));
    }
    return found;
}

changes compare_places(const std::string& path, const json& before, const json& after)
{
    changes found;
    for (size_t place = 0; place < before.size(); ++place)
        append(found, changes_between(entry_of(path, std::to_string(place)), before[place], after[place]));
    return found;
}

// The entries of one list that another one does not have, each as often as it has it more.
std::vector<json> more_in(const json& list, const json& other)
{
    std::multiset<json> known(other.begin(), other.end());
    std::vector<json> more;
    for (const json& entry : list) {
        const auto found = known.find(entry);
        if (found == known.end())
            more.push_back(entry);
        else
            known.erase(found);
    }
    return more;
}

changes compare_entries(const std::string& path, const json& before, const json& after)
{
    changes found;
    for (const json& entry : more_in(before, after))
        append(found, removed(path, entry));
    for (const json& entry : more_in(after, before))
        append(found, added(path, entry));
    return found;
}

changes compare_lists(const std::string& path, const json& before, const json& after)
{
    if (has_keys(before) && has_keys(after))
        return compare_keyed(path, before, after);
    return before.size() == after.size() ? compare_places(path, before, after) : compare_entries(path, before, after);
}

} // namespace

std::vector<change> changes_between(const std::string& path, const json& before, const json& after)
{
    if (before == after)
        return {};
    if (before.is_object() && after.is_object())
        return compare_objects(path, before, after);
    if (before.is_array() && after.is_array())
        return compare_lists(path, before, after);
    return one_change("changed", path, before, after);
}
