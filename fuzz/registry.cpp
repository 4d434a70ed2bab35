// A registry that another process has filled with whatever it likes.

#include "kqutm/registry.h"

#include "fuzz/target.h"

#include <memory>

namespace {

using ids = utm_id_registry;
using slots = uint32_t[UTM_ID_SLOTS];

slots& table_of(ids& registry, uint32_t kind)
{
    if (kind == UTM_ID_USER_PROFILE)
        return registry.profiles;
    return kind == UTM_ID_CF_POLICY ? registry.cf_policies : registry.app_policies;
}

size_t find(const slots& table, uint32_t id)
{
    return static_cast<size_t>(std::find(std::begin(table), std::end(table), id) - std::begin(table));
}

bool holds(const slots& table, uint32_t id)
{
    return find(table, id) != UTM_ID_SLOTS;
}

void put_first(slots& table, uint32_t id, uint32_t other)
{
    if (holds(table, id))
        table[find(table, id)] = other;
}

void require_equal(const ids& registry, const ids& expected)
{
    fuzz::require(memcmp(&registry, &expected, sizeof registry) == 0, "the registry is what operations made it");
}

void check_mapping(fuzz::machine&, ids& registry, uint32_t, uint32_t)
{
    utm_profile_mapping* const mapping = dump_utm_profile_mapping();
    const utm_profile_mapping* node = mapping;
    for (size_t slot = 0; slot < UTM_ID_SLOTS; slot++) {
        if (registry.profiles[slot] == 0)
            continue;
        fuzz::require(node != nullptr && node->next != mapping, "no profile is missing");
        node = node->next;
        fuzz::require(static_cast<uint32_t>(node->profile_id) == registry.profiles[slot] &&
                          static_cast<uint32_t>(node->cf_policy_id) == registry.cf_bindings[slot],
                      "a mapping tells a profile and its policy");
    }
    fuzz::require(mapping == nullptr ? node == nullptr : node->next == mapping && node != mapping,
                  "each mapping is of a profile, and an empty one is null");
    utm_free_profile_mapping_list(mapping);
}

void check_reservation(ids& registry, uint32_t id, uint32_t kind)
{
    ids expected = registry;
    slots& table = table_of(expected, kind);
    fuzz::require((check_shm_utm_id(id, kind) == 0) == holds(table, id), "what is registered is found");
    const bool possible = (id == 0 || !holds(table, id)) && holds(table, 0);
    const int reserved = get_unique_id(id, kind);
    fuzz::require(possible ? id == 0 || static_cast<uint32_t>(reserved) == id : reserved == -1,
                  "no identifier is handed out twice, and none without a slot");
    if (possible)
        put_first(table, 0, static_cast<uint32_t>(reserved));
    require_equal(registry, expected);
}

void check_release(ids& registry, uint32_t id, uint32_t kind)
{
    ids expected = registry;
    fuzz::require(reset_utm_id_shm(id, kind) == 0, "a release succeeds");
    if (kind == UTM_ID_USER_PROFILE) {
        put_first(expected.profiles, id, 0);
    } else {
        put_first(expected.cf_policies, id, 0);
        put_first(expected.app_policies, id, 0);
    }
    require_equal(registry, expected);
    fuzz::require((check_shm_utm_id(id, kind) == 0) == holds(table_of(expected, kind), id),
                  "what is gone is not found");
}

// A binding stays attached. Nobody listens to it.
void check_binding(fuzz::machine& machine, ids& registry, uint32_t profile, uint32_t)
{
    constexpr uint32_t policy = 20;
    ids expected = registry;
    const bool bound = holds(expected.profiles, profile) && holds(expected.cf_policies, policy);
    if (bound)
        expected.cf_bindings[find(expected.profiles, profile)] = policy;
    fuzz::require(utm_user_profile_add_cf_policy(static_cast<int32_t>(profile), policy) == -1,
                  "a binding that the daemon did not accept fails");
    fuzz::require(machine.daemon().requests().size() == (bound ? 1 : 0), "the daemon hears of a binding alone");
    machine.expect_attachments(bound ? 1 : 0);
    require_equal(registry, expected);
}

// Without a daemon to accept it no profile goes.
void check_refusals(fuzz::machine&, ids& registry, uint32_t id, uint32_t)
{
    const ids expected = registry;
    fuzz::require(utm_user_profile_delete(static_cast<int32_t>(id)) == -1, "a refused delete fails");
    fuzz::require(utm_cf_dump_all("/tmp/dump") == -1, "a refused dump fails");
    fuzz::require(utm_user_profile_flush() == 0, "a flush succeeds");
    require_equal(registry, expected);
}

std::unique_ptr<ids> take_registry(fuzz::input& input)
{
    auto registry = std::make_unique<ids>();
    while (!input.empty()) { // a slot by its number, and an identifier
        const size_t slot = size_t{input.byte()} * 5 + input.byte() % 5;
        const uint32_t value = input.byte() | static_cast<uint32_t>(input.byte()) << 24;
        reinterpret_cast<uint32_t*>(registry.get())[slot] = value;
    }
    return registry;
}

void check_ids(fuzz::machine&, ids& registry, uint32_t id, uint32_t kind)
{
    check_reservation(registry, id, kind);
    check_release(registry, id, kind);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr void (*checks[])(fuzz::machine&, ids&, uint32_t id, uint32_t kind) = {check_mapping, check_binding,
                                                                                    check_ids, check_refusals};
    fuzz::input input(data, size);
    const auto check = checks[input.byte() % std::size(checks)];
    const uint32_t id = input.byte();
    const uint8_t how = input.byte();
    const uint32_t kind = how % 4;
    const std::unique_ptr<ids> registry = take_registry(input);
    fuzz::machine machine;
    machine.put_segment(registry.get());
    machine.put_file(UTM_ID_MARKER, {});
    machine.put_interruptions(how / 4 % 4);
    check(machine, *registry, id, kind);
    return 0;
}
