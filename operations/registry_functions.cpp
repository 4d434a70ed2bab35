#include "operations/callable.h"
#include "operations/families.h"
#include "operations/results.h"

namespace operations {

namespace {

constexpr char kind_help[] = "1 a user profile, 2 a content-filter policy, 3 and every other an application policy";
constexpr char semaphore_help[] = "the semaphore set, as init_utm_id_config_sem returned it";

constexpr meaning cleared_values[] = {
    {"0", "cleared now or before; also when the lock could not be had and nothing was cleared"},
    {"-1", "the marker cannot be made, or the segment cannot be attached"},
};
constexpr result_kind cleared = {fails::minus_one, cleared_values, key_causes, fails_on::shared_memory};

constexpr meaning reserved_values[] = {{"an identifier", "reserved; of 2^31 and more it reads as negative"},
                                       {"-1", "taken, no slot free, or the registry is out of reach"}};
constexpr result_kind reserved_id = {fails::minus_one, reserved_values, reservation_causes, fails_on::shared_memory};

constexpr meaning registered_values[] = {
    {"0", "registered, or the registry cannot be locked"},
    {"-1", "not registered (ENOENT), or the segment cannot be attached"},
};
constexpr result_kind registered = {fails::minus_one, registered_values, lookup_causes, fails_on::shared_memory};

constexpr meaning released_values[] = {
    {"0", "released, or not there before; also when the registry cannot be locked and nothing was released"},
    {"-1", "the segment cannot be attached"},
};
constexpr result_kind released = {fails::minus_one, released_values, key_causes, fails_on::shared_memory};

constexpr function_row functions[] = {
    {bound<init_utm_id_config_sem>("int init_utm_id_config_sem(void)"),
     "gets the registry's semaphore, made unlocked where there is none",
     {},
     {"file: " KQUTM_IPC_KEY_FILE " looked up for the key", "system: semaphore set found or made"},
     waits_not,
     semaphore},
    {bound<utm_id_config_lock>("int utm_id_config_lock(int semid)"),
     "takes the registry lock",
     {semaphore_help},
     {"system: semaphore taken, with undo at exit"},
     waits_for_lock,
     system_call,
     lock_is_undone},
    {bound<utm_id_config_unlock>("int utm_id_config_unlock(int semid)"),
     "gives the registry lock back",
     {semaphore_help},
     {"system: semaphore given back, with undo at exit"},
     waits_not,
     system_call,
     lock_is_undone},
    {bound<attach_utm_id_data_shm>("struct utm_id_registry* attach_utm_id_data_shm(void)"),
     "attaches the registry's segment, made all zero where there is none",
     {},
     {"system: segment found or made, and attached"},
     waits_not,
     segment_or_null,
     segment_is_detached},
    {bound<detach_utm_id_data_shm, told_released, attached<attach_utm_id_data_shm>>(
         "int detach_utm_id_data_shm(const void* address)"),
     "detaches the segment",
     {"what attach_utm_id_data_shm returned; null is accepted"},
     {"system: segment detached"},
     waits_not,
     zero_always},
    {bound<init_utm_id_shm>("int init_utm_id_shm(void)"),
     "clears the registry once per start of the gateway",
     {},
     {"file: " UTM_ID_MARKER " looked up, and made where it is missing",
      change_of_registry("registry: cleared under its lock, where the marker was missing")},
     waits_for_lock,
     cleared},
    {bound<get_unique_id>("int get_unique_id(uint32_t id, uint32_t kind)"),
     "reserves an identifier in the lowest free slot of its kind",
     {"the identifier, or 0 for the current time in seconds", kind_help},
     {change_of_registry("registry: reserved, under its lock")},
     "for the lock without a limit; with id 0 until the clock shows a free number, about a second, with the lock held",
     reserved_id},
    {bound<check_shm_utm_id>("int check_shm_utm_id(uint32_t id, uint32_t kind)"),
     "tells whether an identifier is registered",
     {{"the identifier; 0 counts as registered while the kind has a free slot", kind_of_next_argument}, kind_help},
     {"registry: read, under its lock"},
     waits_for_lock,
     registered},
    {bound<reset_utm_id_shm>("int reset_utm_id_shm(uint32_t id, uint32_t kind)"),
     "releases an identifier, a policy's as both kinds of policy",
     {"the identifier", kind_help},
     {change_of_registry("registry: released, under its lock")},
     waits_for_lock,
     released},
};

} // namespace

std::span<const function_row> registry_functions()
{
    return functions;
}

} // namespace operations
