// An IPS daemon that answers a request or shows its status.

#include "fuzz/target.h"

namespace {

constexpr size_t result_at = 312;

void check_reset(const fuzz::connection& daemon)
{
    fuzz::require_result(utm_ips_reset(), daemon, result_at);
}

void check_status(const fuzz::connection& daemon)
{
    utm_ips_message* const status = utm_ips_show_status();
    fuzz::require((status != nullptr) == daemon.was_asked(), "a status block is returned whatever came");
    if (status == nullptr)
        return;
    const fuzz::bytes* const answer = daemon.first_whole();
    fuzz::require(answer == nullptr ? status->result == -1 : memcmp(status, answer->data(), sizeof *status) == 0,
                  "a status is what the daemon sent");
    free(status);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::input input(data, size);
    const auto check = input.byte() % 2 == 0 ? check_reset : check_status;
    check(fuzz::machine(input).daemon());
    return 0;
}
