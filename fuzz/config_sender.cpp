// A config daemon that answers an event.

#include "fuzz/target.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const utm_cf_config_event event = {.code = UTM_CF_DEBUG};
    fuzz::input input(data, size);
    const int target = input.byte() % 4;
    fuzz::machine machine(input);
    const int result = send_utm_config_event(&event, target);
    const fuzz::bytes* const answer = machine.daemon().first_whole();
    const bool accepted = answer != nullptr && answer->front() == UTM_RESPONSE_OK;
    fuzz::require(result == (accepted ? 0 : -1), "success is a whole record of status 0");
    machine.expect_connection(machine.daemon().was_opened() && machine.daemon().descriptor() == 0);
    return 0;
}
