/* The four engines (kqutm/ips.h, devid.h, av.h, ir.h). Texts that a daemon's field would cut are refused with EINVAL.
 */
#ifndef KQUTM_HPP_ENGINES_HPP
#define KQUTM_HPP_ENGINES_HPP

#include "arguments.hpp"
#include "lists.hpp"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

namespace kqutm {

namespace detail {

/* What an engine's operation returned where -1 alone is a failure: the daemon's own number. */
inline result<int32_t> unless_minus_one(int32_t returned)
{
    if (returned == -1)
        return failed();
    return returned;
}

} // namespace detail

namespace ips {

inline result<done> activate(bool on)
{
    return detail::status(utm_ips_activate(on));
}

/* The daemon's whole reply, whose contents it defines. */
inline result<utm_ips_message> status()
{
    const std::unique_ptr<utm_ips_message, decltype(&std::free)> reply(utm_ips_show_status(), std::free);
    if (!reply || reply->result != 0)
        return detail::failed(reply ? reply->result : -1);
    return *reply;
}

/* The daemon defines which action is which: 0 and 1. */
inline result<done> set_whitelist(const std::string& rule, uint32_t action)
{
    return detail::with_text(rule, 10, [=](const char* text) { return utm_ips_set_whitelist(text, action); });
}

inline result<done> set_blacklist(const std::string& rule, uint32_t action)
{
    return detail::with_text(rule, 10, [=](const char* text) { return utm_ips_set_blacklist(text, action); });
}

inline result<list<utm_ips_rule>> rules()
{
    return detail::streamed(utm_ips_show_customizelist);
}

inline result<done> update_signature(const std::string& path)
{
    return detail::with_text(path, 255, utm_ips_update_signature);
}

inline result<done> set_debug(bool on)
{
    return detail::status(utm_ips_debug(on));
}

inline result<done> reset()
{
    return detail::status(utm_ips_reset());
}

inline result<done> flush(uint32_t mode)
{
    return detail::status(utm_ips_flush(mode));
}

} // namespace ips

namespace devid {

namespace detail {

using kqutm::detail::failed;
using kqutm::detail::fits;
using kqutm::detail::refused_here;
using kqutm::detail::status;
using kqutm::detail::streamed;
using kqutm::detail::unless_minus_one;
using kqutm::detail::with_text;

template <class Query> result<list<utm_device>> devices_by(const std::string& text, size_t most, Query query)
{
    if (!fits(text, most))
        return refused_here();
    return streamed([&] { return query(text.c_str()); });
}

} // namespace detail

inline result<list<utm_device>> devices()
{
    return detail::streamed(utm_devid_get_device_list);
}

/* The daemon gets 15 characters of it; with the gateway's own addresses, also of IPv6, the whole is compared. */
inline result<list<utm_device>> devices_by_ip(const std::string& ip)
{
    return detail::devices_by(ip, 45, utm_devid_get_device_list_by_ip);
}

inline result<list<utm_device>> devices_by_interface(const std::string& name)
{
    return detail::devices_by(name, 15, utm_devid_get_device_list_by_interface);
}

/* As the daemon writes it. */
inline result<list<utm_device>> devices_by_mac(const std::string& mac)
{
    return detail::devices_by(mac, 31, utm_devid_get_device_list_by_mac);
}

inline result<done> activate(bool on)
{
    return detail::status(utm_devid_activate(on));
}

/* Three words that the daemon defines. */
inline result<std::array<uint32_t, 3>> status()
{
    utm_devid_status words = {};
    if (utm_devid_get_status(&words) == -1)
        return detail::failed();
    return std::to_array(words.words);
}

/* The number that the daemon answers, whose meaning it defines: -1 alone is a refusal. So with the other three, too. */
inline result<int32_t> set_max_cache_size(uint32_t megabytes)
{
    return detail::unless_minus_one(utm_devid_cache_set_max_size(megabytes));
}

inline result<int32_t> flush_cache()
{
    return detail::unless_minus_one(utm_devid_flush_cache_list());
}

inline result<uint64_t> latest_timestamp()
{
    const uint64_t timestamp = utm_devid_get_latest_timestamp();
    if (timestamp == 0 && errno != 0)
        return detail::failed(0);
    return timestamp;
}

inline result<int32_t> set_debug(bool on)
{
    return detail::unless_minus_one(utm_devid_debug(on));
}

inline result<int32_t> show_kernel_list()
{
    return detail::unless_minus_one(utm_devid_show_all_list());
}

inline result<done> reset()
{
    return detail::status(utm_devid_reset());
}

/* The daemon defines which operation is which: 0 and 1. */
inline result<done> set_ignored_interface(const std::string& name, uint32_t operation)
{
    return detail::with_text(name, 15, [=](const char* text) { return utm_devid_set_ignore_iface(text, operation); });
}

} // namespace devid

namespace av {

inline result<done> activate(bool on)
{
    return detail::status(utm_av_activate(on));
}

inline result<done> set_debug(bool on)
{
    return detail::status(utm_av_debug(on));
}

inline result<done> set_max_cache_size(uint32_t limit)
{
    return detail::status(utm_av_cache_set_max_size(limit));
}

/* The daemon defines which operation is which: 0 and 1. */
inline result<done> set_whitelist(const std::string& entry, uint32_t operation)
{
    return detail::with_text(entry, 32, [=](const char* text) { return utm_av_set_whitelist(text, operation); });
}

/* Three words that the daemon defines. */
inline result<std::array<uint32_t, 3>> status()
{
    utm_av_status words = {};
    if (const int returned = utm_av_show_status(&words); returned != 0)
        return detail::failed(returned);
    return std::to_array(words.words);
}

inline result<list<utm_av_entry>> whitelist()
{
    return detail::streamed(utm_av_show_whitelist);
}

inline result<list<utm_av_entry>> cache()
{
    return detail::streamed(utm_av_show_cache);
}

inline result<done> reset()
{
    return detail::status(utm_av_reset());
}

inline result<done> flush()
{
    return detail::status(utm_av_flush());
}

} // namespace av

namespace ir {

/* The cause's return value is an utm_ir_switch_result. */
inline result<done> activate(bool on)
{
    return detail::status(utm_ir_activate(on));
}

inline result<done> set_debug(bool on)
{
    return detail::status(utm_ir_debug(on));
}

inline result<done> set_max_size(int32_t megabytes)
{
    return detail::status(utm_ir_db_set_max_size_mb(megabytes));
}

inline result<done> set_update_frequency(uint32_t value)
{
    return detail::status(utm_ir_db_set_update_check_freq(value));
}

inline result<done> set_threat_category(uint32_t value)
{
    return detail::status(utm_ir_db_set_threat_category(value));
}

/* The daemon defines what the values mean, and which operation is which: 0 and 1. */
inline result<done> set_whitelist(uint32_t value, uint16_t second_value, int32_t operation)
{
    return detail::status(utm_ir_db_set_whitelist(value, second_value, operation));
}

inline result<done> set_blacklist(uint32_t value, uint16_t second_value, int32_t operation)
{
    return detail::status(utm_ir_db_set_blacklist(value, second_value, operation));
}

inline result<done> flush(uint32_t mode)
{
    return detail::status(utm_ir_flush(mode));
}

inline result<done> reset()
{
    return detail::status(utm_ir_reset());
}

inline result<list<utm_ir_entry>> whitelist()
{
    return detail::streamed(utm_ir_db_get_whitelist);
}

inline result<list<utm_ir_entry>> blacklist()
{
    return detail::streamed(utm_ir_db_get_blacklist);
}

inline result<done> load(const std::string& path)
{
    return detail::with_text(path, 127, utm_ir_load_db);
}

inline result<std::string> version()
{
    const std::unique_ptr<char, decltype(&std::free)> text(utm_ir_show_db_status(), std::free);
    if (!text)
        return detail::failed();
    return std::string(text.get());
}

} // namespace ir

} // namespace kqutm

#endif
