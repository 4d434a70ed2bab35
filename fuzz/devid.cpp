// A device-identification daemon that answers a request, shows its status or its timestamp.

#include "fuzz/target.h"

namespace {

constexpr size_t timestamp_at = 376;
constexpr size_t result_at = 384;

void check_timestamp(const fuzz::connection& daemon)
{
    errno = EIO;
    const uint64_t timestamp = utm_devid_get_latest_timestamp();
    const fuzz::bytes* const answer = daemon.first_whole();
    uint64_t expected = 0;
    if (answer != nullptr)
        memcpy(&expected, answer->data() + timestamp_at, sizeof expected);
    fuzz::require(timestamp == expected, "the timestamp is that of a whole record");
    fuzz::require((errno == 0) == (answer != nullptr), "errno tells a timestamp of 0 from none");
}

void check_status(const fuzz::connection& daemon)
{
    fuzz::check_status(utm_devid_get_status, daemon, result_at);
}

template <auto request> void check_request(const fuzz::connection& daemon)
{
    fuzz::require_result(request(), daemon, result_at);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr void (*checks[])(const fuzz::connection&) = {check_status, check_request<utm_devid_reset>,
                                                           check_request<utm_devid_flush_cache_list>,
                                                           check_request<utm_devid_show_all_list>, check_timestamp};
    fuzz::input input(data, size);
    const auto check = checks[input.byte() % std::size(checks)];
    check(fuzz::machine(input).daemon());
    return 0;
}
