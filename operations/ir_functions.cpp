#include "operations/callable.h"
#include "operations/families.h"
#include "operations/results.h"

namespace operations {

namespace {

constexpr char value_help[] = "the first value; the daemon defines what it means";
constexpr char second_help[] = "the second value; the daemon defines what it means";
constexpr char operation_help[] = "0 or 1, and the daemon defines which is which; anything else is refused";

constexpr meaning switch_values[] = {
    {"0", "the daemon accepted"},
    {"-1", "the daemon refused"},
    {"-2", "the argument is neither 0 nor 1; nothing was sent"},
    {"-3", "the daemon is out of reach"},
    {"-4", "the daemon could not be asked, or did not answer"},
};
constexpr result_kind switched = {fails::not_zero, switch_values, exchange_causes};

constexpr meaning version_values[] = {
    {"a text", "three numbers with dots between them; \"none\" for a version of 0.x.0 whose x is not 0"},
    {"null", "the daemon refused or did not answer, or memory is short"},
};
constexpr result_kind version_or_null = {fails::null, version_values, exchange_causes};
constexpr char text_is_released[] = "the text is released";

constexpr function_row functions[] = {
    {bound<utm_ir_activate>("int32_t utm_ir_activate(int32_t on)"),
     "switches the engine",
     {"0 off, 1 on; anything else gives -2"},
     {{ir_daemon, UTM_IR_ACTIVATE_ON, "on is 1"}, {ir_daemon, UTM_IR_ACTIVATE_OFF, "on is 0"}},
     ir_waits,
     switched},
    {bound<utm_ir_debug>("int32_t utm_ir_debug(int32_t on)"),
     "switches the daemon's debugging",
     {"0 off, 1 on; anything else gives -2"},
     {{ir_daemon, UTM_IR_DEBUG_ON, "on is 1"}, {ir_daemon, UTM_IR_DEBUG_OFF, "on is 0"}},
     ir_waits,
     switched},
    {bound<utm_ir_db_set_max_size_mb>("int32_t utm_ir_db_set_max_size_mb(int32_t size)"),
     "limits the size of the database",
     {"megabytes; 0 is refused, a negative size is sent"},
     {{ir_daemon, UTM_IR_SET_MAX_SIZE_MB}},
     ir_waits,
     accepted},
    {bound<utm_ir_db_set_update_check_freq>("int32_t utm_ir_db_set_update_check_freq(uint32_t value)"),
     "sets how often the daemon looks for updates",
     {"the number, in the daemon's own unit"},
     {{ir_daemon, UTM_IR_SET_UPDATE_CHECK_FREQ}},
     ir_waits,
     accepted},
    {bound<utm_ir_db_set_threat_category>("int32_t utm_ir_db_set_threat_category(uint32_t value)"),
     "selects threat categories",
     {"the categories, as the daemon defines them"},
     {{ir_daemon, UTM_IR_SET_THREAT_CATEGORY}},
     ir_waits,
     accepted},
    {bound<utm_ir_db_set_whitelist>(
         "int32_t utm_ir_db_set_whitelist(uint32_t value, uint16_t second_value, int32_t operation)"),
     "sets an entry in the whitelist",
     {value_help, second_help, operation_help},
     {{ir_daemon, UTM_IR_SET_WHITELIST_0, "operation is 0"}, {ir_daemon, UTM_IR_SET_WHITELIST_1, "operation is 1"}},
     ir_waits,
     accepted},
    {bound<utm_ir_db_set_blacklist>(
         "int32_t utm_ir_db_set_blacklist(uint32_t value, uint16_t second_value, int32_t operation)"),
     "sets an entry in the blacklist",
     {value_help, second_help, operation_help},
     {{ir_daemon, UTM_IR_SET_BLACKLIST_0, "operation is 0"}, {ir_daemon, UTM_IR_SET_BLACKLIST_1, "operation is 1"}},
     ir_waits,
     accepted},
    {bound<utm_ir_flush>("int32_t utm_ir_flush(uint32_t mode)"),
     "flushes in up to two steps over one connection; a first step that is refused leaves out the second",
     {"0 both steps, 1 the first alone, 2 the second alone; 3 and more are refused"},
     {{ir_daemon, UTM_IR_FLUSH_FIRST, "mode is 0 or 1"}, {ir_daemon, UTM_IR_FLUSH_SECOND, "mode is 0 or 2"}},
     ir_waits,
     accepted,
     nullptr,
     "what the mode stands for"},
    {bound<utm_ir_reset>("int32_t utm_ir_reset(void)"),
     "flushes both steps, then switches the engine off; a flush that fails leaves the engine as it is",
     {},
     {{ir_daemon, UTM_IR_FLUSH_FIRST}, {ir_daemon, UTM_IR_FLUSH_SECOND}, {ir_daemon, UTM_IR_ACTIVATE_OFF}},
     ir_waits,
     switched,
     nullptr,
     "the database's lists"},
    {bound<utm_ir_db_get_whitelist>("struct utm_ir_entry* utm_ir_db_get_whitelist(void)"),
     "gets the whitelist, in the order in which the daemon sends it",
     {},
     {{ir_daemon, UTM_IR_GET_WHITELIST}},
     ir_waits,
     list_or_null,
     list_is_released},
    {bound<utm_ir_db_get_blacklist>("struct utm_ir_entry* utm_ir_db_get_blacklist(void)"),
     "gets the blacklist, in the order in which the daemon sends it",
     {},
     {{ir_daemon, UTM_IR_GET_BLACKLIST}},
     ir_waits,
     list_or_null,
     list_is_released},
    {bound<utm_ir_load_db>("int32_t utm_ir_load_db(const char* path)"),
     "has the daemon load a database file",
     {path_for_daemon("the file, which the daemon opens; cut at 128 characters, then without a terminator")},
     {{ir_daemon, UTM_IR_LOAD_DB}},
     ir_waits,
     accepted},
    {bound<utm_ir_show_db_status>("char* utm_ir_show_db_status(void)"),
     "asks for the version of the database",
     {},
     {{ir_daemon, UTM_IR_SHOW_DB_STATUS}},
     ir_waits,
     version_or_null,
     text_is_released},
};

} // namespace

std::span<const function_row> ir_functions()
{
    return functions;
}

} // namespace operations
