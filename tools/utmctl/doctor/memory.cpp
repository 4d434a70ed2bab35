#include "tools/utmctl/doctor/checks.h"

#include "tools/utmctl/lock_view.h"
#include "tools/utmctl/registry_audit.h"
#include "tools/utmctl/registry_view.h"
#include "tools/utmctl/remedy.h"
#include "tools/utmctl/shared_memory.h"

#include "kqutm/common.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unistd.h>

// The key file, and the shared memory that its keys lead to.
namespace doctor {

namespace {

constexpr char key_file[] = KQUTM_IPC_KEY_FILE;
constexpr unsigned for_everybody = 0666;

struct known_segment {
    const char* name;
    int project;
    size_t size;
};

constexpr known_segment known_segments[] = {
    {"the ID registry", UTM_ID_SEGMENT_PROJECT, sizeof(utm_id_registry)},
    {"the store of the UUID", UTM_COMMON_SEGMENT_PROJECT, UTM_UUID_SIZE},
};

size_t ids_in(const utm_id_registry& registry)
{
    size_t ids = 0;
    for (const uint32_t kind : {UTM_ID_USER_PROFILE, UTM_ID_CF_POLICY, UTM_ID_APP_POLICY}) {
        const auto slots = ids_of(registry, kind);
        ids += slots.size() - static_cast<size_t>(std::count(slots.begin(), slots.end(), 0U));
    }
    return ids;
}

bool is_left_behind(const segment_row& row, const known_segment& known)
{
    const std::optional<key_t> key = key_of(known.project);
    return key && row.key != *key && row.project() == known.project && row.size == known.size;
}

// "the ID registry (shared memory 3) with 2 identifiers"
std::string description_of(const segment_row& row, const known_segment& known, const std::string& content)
{
    const std::string name = std::string(known.name) + " (shared memory " + std::to_string(row.id) + ")";
    if (known.project != UTM_ID_SEGMENT_PROJECT)
        return name + (content[0] == '\0' ? " without a UUID" : " with a UUID");
    const size_t ids = ids_in(registry_in(content));
    return name + " with " + std::to_string(ids) + (ids == 1 ? " identifier" : " identifiers");
}

bool holds_something(const std::string& content)
{
    return std::any_of(content.begin(), content.end(), [](char byte) { return byte != '\0'; });
}

finding left_behind(const std::string& names, bool something)
{
    return {something ? severity::error : severity::note,
            std::string("the library file ") + key_file +
                " was replaced while the gateway ran, so that nobody reaches " + names + " any more",
            "restart the gateway"};
}

std::optional<finding> find_left_behind()
{
    std::string names;
    bool something = false;
    for (const segment_row& row : all_segments()) {
        for (const known_segment& known : known_segments) {
            if (!is_left_behind(row, known))
                continue;
            const std::string content = content_of(row);
            names += (names.empty() ? "" : " and ") + description_of(row, known, content);
            something |= holds_something(content);
        }
    }
    return names.empty() ? std::nullopt : std::optional(left_behind(names, something));
}

std::string ipcrm(const segment_row& row)
{
    return remedy_of_user(0, "end the program that made it, remove it with 'ipcrm -m " + std::to_string(row.id) +
                                 "', and restart the gateway");
}

void check_segment(findings& found, const known_segment& known)
{
    const std::optional<segment_row> row = find_segment(known.project);
    if (!row)
        return;
    const std::string subject = std::string(known.name) + " (shared memory " + std::to_string(row->id) + ")";
    if (row->size != known.size)
        found.push_back({severity::error,
                         subject + " has " + std::to_string(row->size) + " bytes instead of " +
                             std::to_string(known.size) + ", so another program made it",
                         ipcrm(*row)});
    else if ((row->mode & for_everybody) != for_everybody)
        found.push_back({severity::warning, subject + " is closed to programs of other users", ipcrm(*row)});
}

} // namespace

findings check_key_file(const examination&)
{
    if (access(key_file, F_OK) == 0)
        return {};
    return {{severity::error,
             std::string("the key file ") + key_file + " cannot be found (" + strerror(errno) +
                 "), so the ID registry and the UUID are out of everybody's reach",
             remedy_of_user(0, "install the library at that path, and restart the gateway")}};
}

findings check_left_behind(const examination&)
{
    const auto left = find_left_behind();
    return left ? findings{*left} : findings{};
}

findings check_segments(const examination&)
{
    findings found;
    for (const known_segment& known : known_segments)
        check_segment(found, known);
    return found;
}

findings check_marker(const examination&)
{
    const std::optional<segment_row> row = find_segment(UTM_ID_SEGMENT_PROJECT);
    if (!key_of(UTM_ID_SEGMENT_PROJECT) || find_left_behind())
        return {};
    if (!row && registry_was_cleared())
        return {{severity::warning,
                 std::string("the marker ") + UTM_ID_MARKER +
                     " tells of an ID registry that is not there, so its identifiers are lost",
                 "restart the gateway"}};
    if (!row || registry_was_cleared())
        return {};
    if (holds_something(content_of(*row)))
        return {{severity::warning,
                 "the ID registry was never cleared since the gateway started, and the first profile or policy that is "
                 "created will wipe out what it holds",
                 std::string("'touch ") + UTM_ID_MARKER + "' keeps it, 'utmctl registry clear --yes' clears it now"}};
    return {{severity::note, "the ID registry was never cleared since the gateway started, but holds nothing",
             "the first profile or policy that is created clears it, and so does 'utmctl registry init'"}};
}

// While the lock is taken, the slots may be in the middle of a change.
findings check_slots(const examination&)
{
    const std::optional<segment_row> row = find_segment(UTM_ID_SEGMENT_PROJECT);
    const std::optional<lock_view> before = look_at(registry_lock);
    if (!row || (before && before->taken()))
        return {};
    findings found = audit_slots(registry_in(content_of(*row)));
    const std::optional<lock_view> after = look_at(registry_lock);
    if (before.has_value() != after.has_value() || (after && (after->taken() || after->process != before->process)))
        return {};
    std::erase_if(found, [](const finding& one) { return one.how_bad == severity::note; });
    return found;
}

} // namespace doctor
