// An anti-virus daemon that answers a request, shows its status or a list.

#include "fuzz/target.h"

namespace {

constexpr size_t text_at = 20;
constexpr size_t text_size = 33;
constexpr size_t cache_value_at = 53;
constexpr size_t cache_value_size = 32;
constexpr size_t status_at = 92;

std::vector<fuzz::bytes> entries(const fuzz::connection& daemon)
{
    return fuzz::records_before(daemon.sent(), status_at, -1);
}

void check_reset(const fuzz::connection& daemon)
{
    fuzz::require_result(utm_av_reset(), daemon, status_at);
}

void check_status(const fuzz::connection& daemon)
{
    fuzz::check_status(utm_av_show_status, daemon, status_at);
}

void check_whitelist(const fuzz::connection& daemon)
{
    utm_av_entry* const list = utm_av_show_whitelist();
    fuzz::check_list(list, daemon, entries(daemon), [](utm_av_entry& entry, const fuzz::bytes& record) {
        fuzz::copy_text(entry.whitelist_entry, record, text_at, text_size);
    });
}

void check_cache(const fuzz::connection& daemon)
{
    utm_av_entry* const list = utm_av_show_cache();
    std::vector<fuzz::bytes> newest_first = entries(daemon);
    std::reverse(newest_first.begin(), newest_first.end());
    fuzz::check_list(list, daemon, newest_first, [](utm_av_entry& entry, const fuzz::bytes& record) {
        fuzz::copy_text(entry.cache_key, record, text_at, text_size);
        fuzz::copy_text(entry.cache_value, record, cache_value_at, cache_value_size);
    });
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr void (*checks[])(const fuzz::connection&) = {check_reset, check_status, check_whitelist, check_cache};
    fuzz::input input(data, size);
    const auto check = checks[input.byte() % std::size(checks)];
    check(fuzz::machine(input).daemon());
    return 0;
}
