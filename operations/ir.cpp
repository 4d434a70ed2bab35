#include "kqutm/daemon.h"
#include "operations/codes.h"

namespace operations {

namespace {

using enum field_type;
using enum reply_form;

constexpr field value_field[] = {{"value", number, 4, 4}};
constexpr field size_field[] = {{"value", signed_number, 4, 4}};
constexpr field entry_fields[] = {{"value", number, 4, 4}, {"second_value", number, 8, 2}};
constexpr field path_field[] = {{"path", text, 4, 128}};
constexpr field version_fields[] = {{"first", number, 4, 4}, {"second", number, 8, 4}, {"third", number, 12, 4}};

constexpr code_row codes[] = {
    {UTM_IR_ACTIVATE_ON, "activate", {}},
    {UTM_IR_ACTIVATE_OFF, "deactivate", {}},
    {UTM_IR_SET_UPDATE_CHECK_FREQ, "set update check freq", value_field},
    {UTM_IR_SET_MAX_SIZE_MB, "set max size", size_field},
    {UTM_IR_DEBUG_ON, "debug on", {}},
    {UTM_IR_DEBUG_OFF, "debug off", {}},
    {UTM_IR_SET_WHITELIST_0, "add to whitelist", entry_fields},
    {UTM_IR_SET_WHITELIST_1, "remove from whitelist", entry_fields},
    {UTM_IR_FLUSH_FIRST, "flush whitelist", {}},
    {UTM_IR_SET_THREAT_CATEGORY, "set threat category", value_field},
    {UTM_IR_SET_BLACKLIST_0, "add to blacklist", entry_fields},
    {UTM_IR_SET_BLACKLIST_1, "remove from blacklist", entry_fields},
    {UTM_IR_FLUSH_SECOND, "flush blacklist", {}},
    {UTM_IR_GET_WHITELIST, "get whitelist", {}, entry_fields, list},
    {UTM_IR_GET_BLACKLIST, "get blacklist", {}, entry_fields, list},
    {UTM_IR_LOAD_DB, "load db", path_field},
    {UTM_IR_SHOW_DB_STATUS, "show db status", {}, version_fields},
};

} // namespace

std::span<const code_row> ir_codes()
{
    return codes;
}

} // namespace operations
