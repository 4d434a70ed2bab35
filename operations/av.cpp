#include "kqutm/daemon.h"
#include "operations/codes.h"

namespace operations {

namespace {

using enum field_type;
using enum reply_form;

constexpr field switch_field[] = {{"on", number, offsetof(utm_av_message, on), 4}};
constexpr field status_fields[] = {{"on", number, offsetof(utm_av_message, on), 4},
                                   {"debug", number, offsetof(utm_av_message, status_word_2), 4},
                                   {"cache_size", number, offsetof(utm_av_message, status_word_3), 4}};
constexpr field size_field[] = {{"cache_size", number, offsetof(utm_av_message, cache_size), 4}};
constexpr field entry_field[] = {{"entry", text, offsetof(utm_av_message, text), sizeof utm_av_message::text}};
constexpr field change_fields[] = {entry_field[0],
                                   {"operation", number, offsetof(utm_av_message, whitelist_operation), 4}};
constexpr field cache_fields[] = {
    {"key", text, offsetof(utm_av_message, text), sizeof utm_av_message::text},
    {"value", text, offsetof(utm_av_message, cache_value), sizeof utm_av_message::cache_value}};

constexpr code_row codes[] = {
    {UTM_AV_ACTIVATE, "activate", switch_field},
    {UTM_AV_SHOW_STATUS, "show status", {}, status_fields},
    {UTM_AV_CACHE_SET_MAX_SIZE, "set cache size", size_field},
    {UTM_AV_SHOW_CACHE, "show cache", {}, cache_fields, list},
    {UTM_AV_SET_WHITELIST, "set whitelist", change_fields},
    {UTM_AV_SHOW_WHITELIST, "show whitelist", {}, entry_field, list},
    {UTM_AV_DEBUG, "debug", switch_field},
    {UTM_AV_RESET, "reset", {}},
    {UTM_AV_FLUSH, "flush", {}},
};

} // namespace

std::span<const code_row> av_codes()
{
    return codes;
}

} // namespace operations
