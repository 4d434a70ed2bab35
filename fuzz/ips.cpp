// An IPS daemon that answers a request or shows its status.

#include "fuzz/target.h"

namespace {

constexpr size_t result_at = 312;

void check_status(const fuzz::machine& machine)
{
    utm_ips_message* const status = utm_ips_show_status();
    fuzz::require(status != nullptr, "a status block is returned whatever came");
    const bool shown = fuzz::leading_records(machine.sent(), result_at, 0) != 0;
    fuzz::require((status->result == 0) == shown, "a status is that of a whole record that says so");
    free(status);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::input input(data, size);
    const bool status = input.byte() % 2 != 0;
    fuzz::machine machine(input);
    if (status)
        check_status(machine);
    else
        fuzz::require_result(utm_ips_reset(), machine, result_at);
    return 0;
}
