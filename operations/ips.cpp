#include "kqutm/daemon.h"
#include "operations/codes.h"

namespace operations {

namespace {

using enum field_type;
using enum reply_form;

constexpr field on_field[] = {{"on", number, offsetof(utm_ips_message, on), 4}};
constexpr field debug_field[] = {{"debug", number, offsetof(utm_ips_message, debug), 4}};
constexpr field mode_field[] = {{"mode", number, offsetof(utm_ips_message, flush_mode), 4}};
constexpr field rule_fields[] = {{"rule", text, offsetof(utm_ips_message, rule_id), sizeof utm_ips_message::rule_id},
                                 {"action", number, offsetof(utm_ips_message, list_action), 4}};
constexpr field name_field[] = {
    {"name", text, offsetof(utm_ips_message, rule_name), sizeof utm_ips_message::rule_name}};
constexpr field signature_field[] = {
    {"signature", text, offsetof(utm_ips_message, signature_path), sizeof utm_ips_message::signature_path}};
constexpr field status_fields[] = {on_field[0],
                                   {"customized_rules", number, offsetof(utm_ips_message, unread_8), 4},
                                   debug_field[0],
                                   signature_field[0]};

constexpr code_row codes[] = {
    {UTM_IPS_ACTIVATE, "activate", on_field},
    {UTM_IPS_SHOW_STATUS, "show status", {}, status_fields},
    {UTM_IPS_SET_WHITELIST, "set whitelist", rule_fields},
    {UTM_IPS_SET_BLACKLIST, "set blacklist", rule_fields},
    {UTM_IPS_SHOW_CUSTOMIZELIST, "show customizelist", {}, name_field, list},
    {UTM_IPS_UPDATE_SIGNATURE, "update signature", signature_field},
    {UTM_IPS_DEBUG, "debug", debug_field},
    {UTM_IPS_RESET, "reset", {}},
    {UTM_IPS_FLUSH, "flush", mode_field},
};

} // namespace

std::span<const code_row> ips_codes()
{
    return codes;
}

} // namespace operations
