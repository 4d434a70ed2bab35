// A device-identification daemon that answers a request, shows its status or its timestamp.

#include "fuzz/target.h"

namespace {

constexpr size_t result_at = 384;
constexpr size_t timestamp_at = 376;

void check_timestamp(const fuzz::machine& machine)
{
    errno = EIO;
    const uint64_t timestamp = utm_devid_get_latest_timestamp();
    const fuzz::bytes* const answer = machine.first_whole();
    uint64_t expected = 0;
    if (answer != nullptr)
        memcpy(&expected, answer->data() + timestamp_at, sizeof expected);
    fuzz::require(timestamp == expected, "the timestamp is that of a whole record");
    fuzz::require((errno == 0) == (answer != nullptr), "errno tells a timestamp of 0 from none");
}

int32_t get_status()
{
    utm_devid_status status;
    return utm_devid_get_status(&status);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr int32_t (*operations[])() = {get_status, utm_devid_reset, utm_devid_flush_cache_list,
                                           utm_devid_show_all_list};
    fuzz::input input(data, size);
    const size_t chosen = input.byte() % (std::size(operations) + 1);
    fuzz::machine machine(input);
    if (chosen == std::size(operations))
        check_timestamp(machine);
    else
        fuzz::require_result(operations[chosen](), machine, result_at);
    return 0;
}
