// An anti-virus daemon that answers a request, shows its status or a list.

#include "fuzz/target.h"

namespace {

constexpr size_t status_at = 92;

void check_list(utm_av_entry* list, const fuzz::machine& machine)
{
    fuzz::require(list != nullptr, "a list is returned as far as it came");
    for (const utm_av_entry* entry = list->next; entry != list; entry = entry->next) {
        fuzz::require(memchr(entry->whitelist_entry, 0, sizeof entry->whitelist_entry) != nullptr, "an entry ends");
        fuzz::require(memchr(entry->cache_value, 0, sizeof entry->cache_value + sizeof entry->unused_97) != nullptr,
                      "a value ends");
    }
    fuzz::require(fuzz::count_and_free(list) == fuzz::records_before(machine.sent(), status_at, -1),
                  "an entry for each record that carries one");
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::input input(data, size);
    const int chosen = input.byte() % 4;
    fuzz::machine machine(input);
    utm_av_status status;
    if (chosen == 0)
        fuzz::require_result(utm_av_reset(), machine, status_at);
    else if (chosen == 1)
        fuzz::require_result(utm_av_show_status(&status), machine, status_at);
    else
        check_list(chosen == 2 ? utm_av_show_whitelist() : utm_av_show_cache(), machine);
    return 0;
}
