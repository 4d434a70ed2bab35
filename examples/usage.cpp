// How long a profile may use the net, and what it has looked at: what usage.c does, through the layer for C++20. Takes
// the guests of a home, profile 3.
#include <kqutm.hpp>

#include <cstdio>
#include <string>

namespace {

constexpr kqutm::profile_id guests = *kqutm::profile_id::of(3);
constexpr int saturday = 6;

int fail(const char* what, const kqutm::cause& why)
{
    std::fprintf(stderr, "%s: %s\n", what, why.code().message().c_str());
    return 1;
}

int set_limits()
{
    if (const auto set = kqutm::limits::set_daily(guests, 120); !set)
        return fail("cannot set the limit", set.error());
    if (const auto set = kqutm::limits::set_weekday(guests, saturday, 180); !set)
        return fail("cannot set the limit of a weekday", set.error());
    const auto daily = kqutm::limits::daily(guests);
    if (!daily)
        return fail("cannot read the limit", daily.error());
    std::printf("every day: %u\n", *daily);
    return 0;
}

int show_weekdays()
{
    const auto weekdays = kqutm::limits::weekdays(guests);
    if (!weekdays)
        return fail("cannot list the weekdays", weekdays.error());
    for (const utm_weekday_limit_entry& entry : *weekdays)
        std::printf("weekday %u: %u\n", entry.first_value, entry.second_value);
    return 0;
}

int show_domains()
{
    const auto domains = kqutm::profiles::browsed_domains(guests);
    if (!domains)
        return fail("cannot list the domains", domains.error());
    for (const utm_domain_browse_entry& entry : *domains)
        std::printf("%s: %u\n", std::string(kqutm::text_of(entry.domain)).c_str(), entry.value);
    return 0;
}

} // namespace

int main()
{
    for (const auto step : {set_limits, show_weekdays, show_domains}) {
        if (const int failed = step(); failed != 0)
            return failed;
    }
}
