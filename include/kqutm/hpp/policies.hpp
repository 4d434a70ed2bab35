/* Content filter and application control: their policies, switches and settings (kqutm/cf.h, kqutm/app.h). */
#ifndef KQUTM_HPP_POLICIES_HPP
#define KQUTM_HPP_POLICIES_HPP

#include "../app.h"
#include "../cf.h"
#include "arguments.hpp"
#include "registry.hpp"
#include "types.hpp"

#include <array>
#include <cstdint>
#include <limits>
#include <span>
#include <string>

/* Paths of dumps reach a shell unquoted: they must not come from outside. */
namespace kqutm::filter {

using category_block = std::array<uint8_t, UTM_CF_BLOCK_SIZE>;

enum class list_of_urls {
    trusted,
    forbidden
};

enum class list_of_domains {
    trusted,
    forbidden,
    keywords
};

inline result<created<cf_policy_id>> create(cf_policy_id id)
{
    return detail::checked_creation<cf_policy_id>(utm_cf_policy_create(id.number()));
}

/* With an identifier from the clock, for which the call may spin for about a second. */
inline result<created<cf_policy_id>> create()
{
    return detail::checked_creation<cf_policy_id>(utm_cf_policy_create(detail::from_clock));
}

inline result<done> set_block(cf_policy_id id, const category_block& block)
{
    return detail::status(utm_cf_policy_config_block(id.number(), block.data()));
}

inline result<done> add(list_of_urls list, const std::string& url)
{
    return detail::with_text(url, 2047,
                             list == list_of_urls::trusted ? utm_cf_add_trusted_url : utm_cf_add_forbidden_url);
}

inline result<done> remove(list_of_urls list, const std::string& url)
{
    return detail::with_text(url, 2047,
                             list == list_of_urls::trusted ? utm_cf_del_trusted_url : utm_cf_del_forbidden_url);
}

/* A domain, or a keyword, of one policy. */
inline result<done> add(cf_policy_id id, list_of_domains list, const std::string& text)
{
    constexpr decltype(&utm_cf_policy_add_trusted_domain) operations[] = {
        utm_cf_policy_add_trusted_domain, utm_cf_policy_add_forbidden_domain, utm_cf_policy_add_domain_keyword};
    return detail::with_text(
        text, 511, [&](const char* given) { return operations[static_cast<size_t>(list)](id.number(), given); });
}

inline result<done> remove(cf_policy_id id, list_of_domains list, const std::string& text)
{
    constexpr decltype(&utm_cf_policy_del_trusted_domain) operations[] = {
        utm_cf_policy_del_trusted_domain, utm_cf_policy_del_forbidden_domain, utm_cf_policy_del_domain_keyword};
    return detail::with_text(
        text, 511, [&](const char* given) { return operations[static_cast<size_t>(list)](id.number(), given); });
}

inline result<done> switch_safe_browsing(bool on)
{
    return detail::status(utm_cf_web_safe_browsing_activate(on));
}

inline result<done> switch_web_category(bool on)
{
    return detail::status(utm_cf_web_category_activate(on));
}

inline result<done> follow_engines()
{
    return detail::status(utm_cf_activate());
}

inline result<done> set_redirect_page(const std::string& text)
{
    return detail::with_text(text, 1023, utm_cf_redirect_page);
}

inline result<done> dump(const std::string& path)
{
    return detail::with_text(path, 127, utm_cf_dump_all);
}

inline result<done> set_debug(int32_t value)
{
    return detail::status(utm_cf_debug(value));
}

inline result<done> flush(int32_t type)
{
    return detail::status(utm_cf_global_flush(type));
}

inline result<done> flush(int32_t type, cf_policy_id id)
{
    return detail::status(utm_cf_policy_flush(type, id.number()));
}

} // namespace kqutm::filter

namespace kqutm::applications {

using entry = std::array<uint8_t, UTM_APP_ENTRY_SIZE>;

namespace detail {

using kqutm::detail::checked_creation;
using kqutm::detail::failed;
using kqutm::detail::fits;
using kqutm::detail::from_clock;
using kqutm::detail::refused_here;
using kqutm::detail::status;
using kqutm::detail::with_text;

inline uint32_t number(app_policy_id id)
{
    return static_cast<uint32_t>(id.number());
}

/* Hands entries to an operation, or refuses them where their number is none that it can be told. */
inline result<done> configure(decltype(&utm_app_policy_config_block) operation, app_policy_id id,
                              std::span<const entry> entries)
{
    if (entries.size() > std::numeric_limits<int32_t>::max())
        return refused_here();
    return status(operation(number(id), entries.data(), static_cast<int32_t>(entries.size())));
}

} // namespace detail

inline result<created<app_policy_id>> create(app_policy_id id)
{
    return detail::checked_creation<app_policy_id>(utm_app_policy_create(detail::number(id)));
}

/* With an identifier from the clock, for which the call may spin for about a second. */
inline result<created<app_policy_id>> create()
{
    return detail::checked_creation<app_policy_id>(utm_app_policy_create(detail::from_clock));
}

/* In place of those that the policy has. When it fails on the way, the old ones are gone. */
inline result<done> set_entries(app_policy_id id, std::span<const entry> entries)
{
    return detail::configure(utm_app_policy_config_init_block, id, entries);
}

inline result<done> add_entries(app_policy_id id, std::span<const entry> entries)
{
    return detail::configure(utm_app_policy_config_block, id, entries);
}

inline result<done> activate(int32_t value)
{
    return detail::status(utm_app_activate(value));
}

inline result<done> set_debug(int32_t value)
{
    return detail::status(utm_app_debug(value));
}

inline result<done> set_export_interval(int32_t interval)
{
    return detail::status(utm_app_set_export_interval(interval));
}

inline result<uint32_t> export_interval()
{
    uint32_t interval = 0;
    if (const int returned = utm_app_get_export_interval(&interval); returned != 0)
        return detail::failed(returned);
    return interval;
}

/* The daemon's three status values. */
inline result<std::array<uint32_t, 3>> daemon_status()
{
    std::array<uint32_t, 3> values = {};
    if (const int returned = utm_app_daemon_status(&values[0], &values[1], &values[2]); returned != 0)
        return detail::failed(returned);
    return values;
}

inline result<done> update_signature(const std::string& path)
{
    return detail::with_text(path, 127, utm_app_update_signature);
}

inline result<done> import_statistics(const std::string& path = UTM_APP_STATISTICS_FILE)
{
    return detail::with_text(path, 127, utm_app_import_statistics);
}

inline result<done> export_statistics(const std::string& path = UTM_APP_STATISTICS_FILE)
{
    return detail::with_text(path, 127, utm_app_export_statistics);
}

inline result<done> dump(const std::string& path)
{
    return detail::with_text(path, 127, utm_app_dump_all);
}

} // namespace kqutm::applications

#endif
