/* User profiles (kqutm/profile.h). */
#ifndef KQUTM_HPP_PROFILES_HPP
#define KQUTM_HPP_PROFILES_HPP

#include "../profile.h"
#include "lists.hpp"
#include "registry.hpp"
#include "types.hpp"

#include <array>

namespace kqutm::profiles {

inline result<created<profile_id>> create(profile_id id)
{
    return detail::checked_creation<profile_id>(utm_user_profile_create(id.number()));
}

/* With an identifier from the clock, for which the call may spin for about a second. */
inline result<created<profile_id>> create()
{
    return detail::checked_creation<profile_id>(utm_user_profile_create(detail::from_clock));
}

inline result<done> remove(profile_id id)
{
    return detail::status(utm_user_profile_delete(id.number()));
}

inline result<done> add_device(profile_id id, const mac_address& device)
{
    return detail::status(utm_user_profile_add_dev(id.number(), device.bytes().data()));
}

inline result<done> remove_device(profile_id id, const mac_address& device)
{
    return detail::status(utm_user_profile_del_dev(id.number(), device.bytes().data()));
}

/* Deletes all profiles; what the daemons answer is not known. */
inline result<done> flush()
{
    return detail::status(utm_user_profile_flush());
}

inline result<done> bind(profile_id id, cf_policy_id policy)
{
    return detail::status(utm_user_profile_add_cf_policy(id.number(), policy.number()));
}

inline result<done> bind(profile_id id, app_policy_id policy)
{
    return detail::status(
        utm_user_profile_add_app_policy(static_cast<uint32_t>(id.number()), static_cast<uint32_t>(policy.number())));
}

/* Which content-filter policy is bound to which profile; empty without profiles. */
inline result<list<utm_profile_mapping>> mapping()
{
    return detail::possibly_none(dump_utm_profile_mapping);
}

/* Deletes all profiles and switches both filters off. */
inline result<done> reset_all()
{
    return detail::status(utm_user_profile_cf_app_policy_reset());
}

inline result<list<utm_domain_browse_entry>> browsed_domains(profile_id id)
{
    return detail::answered(utm_user_profile_get_browse_domain_list(id.number()));
}

} // namespace kqutm::profiles

namespace kqutm::limits {

namespace detail {

using kqutm::detail::answered;
using kqutm::detail::failed;
using kqutm::detail::status;

inline uint32_t number(profile_id id)
{
    return static_cast<uint32_t>(id.number());
}

/* The value that an operation reads. */
inline result<uint32_t> read(profile_id id, int32_t (*operation)(uint32_t, uint32_t*))
{
    uint32_t value = 0;
    if (const int returned = operation(number(id), &value); returned != 0)
        return failed(returned);
    return value;
}

} // namespace detail

/* Limits, extension, weekdays, figures and switches but 0 and 1 are what the application daemon takes them for. */
inline result<done> set_enabled(profile_id id, int32_t value)
{
    return detail::status(utm_user_profile_set_daily_limit_enable(detail::number(id), value));
}

inline result<uint32_t> enabled(profile_id id)
{
    return detail::read(id, utm_user_profile_get_daily_limit_enable);
}

inline result<done> set_daily(profile_id id, int32_t limit)
{
    return detail::status(utm_user_profile_set_daily_limit(detail::number(id), limit));
}

inline result<uint32_t> daily(profile_id id)
{
    return detail::read(id, utm_user_profile_get_daily_limit);
}

inline result<done> set_weekday(profile_id id, int32_t weekday, int32_t limit)
{
    return detail::status(utm_user_profile_set_weekday_daily_limit(detail::number(id), weekday, limit));
}

inline result<list<utm_weekday_limit_entry>> weekdays(profile_id id)
{
    return detail::answered(utm_user_profile_get_weekday_daily_limit(detail::number(id)));
}

inline result<done> extend(profile_id id, int32_t extension)
{
    return detail::status(utm_user_profile_set_extended(detail::number(id), extension));
}

inline result<uint32_t> extension(profile_id id)
{
    return detail::read(id, utm_user_profile_get_extended);
}

inline result<done> take_extension_back(profile_id id)
{
    return detail::status(utm_user_profile_reset_extended(detail::number(id)));
}

/* The three figures of a profile's usage. */
inline result<std::array<uint32_t, 3>> usage(profile_id id)
{
    std::array<uint32_t, 3> figures = {};
    const int returned = utm_user_profile_get_usage(detail::number(id), &figures[0], &figures[1], &figures[2]);
    if (returned != 0)
        return detail::failed(returned);
    return figures;
}

inline result<list<utm_app_usage_entry>> usage_by_app(profile_id id, uint32_t argument = 0)
{
    return detail::answered(utm_user_profile_get_app_usage(detail::number(id), argument));
}

inline result<list<utm_app_usage_prev_days_entry>> usage_on_earlier_days(profile_id id, uint32_t argument = 0)
{
    return detail::answered(utm_user_profile_get_app_usage_prev_days(detail::number(id), argument));
}

} // namespace kqutm::limits

#endif
