// A registry that another process has filled with whatever it likes.

#include "kqutm/registry.h"

#include "fuzz/target.h"

#include <algorithm>
#include <memory>

namespace {

void use_id(uint32_t id, uint32_t kind)
{
    const bool registered = check_shm_utm_id(id, kind) == 0;
    const int reserved = get_unique_id(id, kind);
    fuzz::require(id == 0 || !registered || reserved == -1, "no identifier is handed out twice");
    fuzz::require(reset_utm_id_shm(id, kind) == 0, "a release succeeds");
}

size_t used(const uint32_t (&slots)[UTM_ID_SLOTS])
{
    return static_cast<size_t>(std::count_if(std::begin(slots), std::end(slots), [](uint32_t id) { return id != 0; }));
}

void check_mapping(const utm_id_registry& ids)
{
    utm_profile_mapping* const mapping = dump_utm_profile_mapping();
    fuzz::require((mapping != nullptr) == (used(ids.profiles) != 0), "an empty mapping is null");
    size_t count = 0;
    for (const utm_profile_mapping* node = mapping; mapping != nullptr && node->next != mapping; node = node->next)
        count++;
    fuzz::require(count == used(ids.profiles), "a profile for each slot");
    utm_free_profile_mapping_list(mapping);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::input input(data, size);
    const uint32_t id = input.byte();
    const uint32_t kind = input.byte() % 4;
    const auto ids = std::make_unique<utm_id_registry>();
    while (!input.empty()) { // a slot by its number, and an identifier
        const size_t slot = size_t{input.byte()} * 5 + input.byte() % 5;
        const uint32_t value = input.byte() | static_cast<uint32_t>(input.byte()) << 24;
        reinterpret_cast<uint32_t*>(ids.get())[slot] = value;
    }
    fuzz::machine machine(fuzz::input(nullptr, 0));
    machine.put_segment(ids.get());
    machine.put_file(UTM_ID_MARKER, {});
    check_mapping(*ids);
    use_id(id, kind);
    utm_user_profile_add_cf_policy(static_cast<int32_t>(id), 20);
    utm_user_profile_delete(static_cast<int32_t>(id));
    utm_cf_dump_all("/tmp/dump");
    utm_user_profile_flush();
    return 0;
}
