// Files that others write: the switches of the filter's engines, and the number of its daemon.

#include "fuzz/target.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::input input(data, size);
    const uint8_t which = input.byte();
    const fuzz::bytes first = input.take(input.byte());
    const fuzz::bytes second = input.take(input.byte());
    fuzz::machine machine(fuzz::input(nullptr, 0));
    if ((which & 1) != 0)
        machine.put_file(UTM_CF_WEB_SAFE_BROWSING_FILE, first);
    if ((which & 2) != 0)
        machine.put_file(UTM_CF_WEB_CATEGORY_FILE, second);
    if ((which & 4) != 0)
        machine.put_file(UTM_CF_MARKER, {});
    machine.put_file(UTM_CF_PID_FILE, input.rest());
    fuzz::require(utm_cf_activate() == 0, "what stands in a switch is no failure");
    fuzz::require(machine.told().size() <= 1, "one daemon is told");
    for (int process : machine.told())
        fuzz::require(process > 0, "no group of processes is told");
    return 0;
}
