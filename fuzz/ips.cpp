// An IPS daemon that answers a request or shows its status.

#include "fuzz/target.h"

namespace {

void check_status(const fuzz::machine& machine)
{
    utm_ips_message* const status = utm_ips_show_status();
    fuzz::require(status != nullptr, "a status block is returned whatever came");
    const bool shown = fuzz::leading_records(machine.sent(), 312, 0) != 0;
    fuzz::require((status->result == 0) == shown, "a status is that of a whole record that says so");
    free(status);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::input input(data, size);
    const bool status = input.byte() % 2 != 0;
    fuzz::machine machine(input);
    if (status) {
        check_status(machine);
        return 0;
    }
    const int32_t result = utm_ips_reset();
    const bool whole = !machine.sent().empty() && machine.sent().front().whole;
    fuzz::require(result == (whole ? fuzz::value_at(machine.sent().front().data, 312) : -1),
                  "the result is that of a whole record");
    return 0;
}
