#include "kqutm/engines.h"

#include "tools/utmctl/engine_call.h"
#include "tools/utmctl/engine_list.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/file_path.h"

namespace {

constexpr engine_service ir = {{"IR", UTM_IR_SOCKET}, false};

template <auto operation> kqutm::result<int32_t> set_entry(const request& asked)
{
    return number_in(operation(whole_of<uint32_t>(asked.one("VALUE")), whole_of<uint16_t>(asked.one("SECOND")),
                               whole_of<int32_t>(asked.one("OPERATION"))));
}

kqutm::result<int32_t> set_max_size(const request& asked)
{
    return number_in(kqutm::ir::set_max_size(whole_of<int32_t>(asked.one("MB"))));
}

constexpr char engine[] = "the IR engine";
constexpr char entry[] = "entry {VALUE} {SECOND}";

constexpr argument value[] = {
    {"VALUE", occurs::once, check_whole<0, UINT32_MAX>, "a number that the daemon defines"},
};

constexpr engine_deed switching = {ir, engine, "switched {STATE}", call_with_state<kqutm::ir::activate>};
constexpr engine_deed debugging = {ir, "debugging of the IR engine", "switched {STATE}",
                                   call_with_state<kqutm::ir::set_debug>};
constexpr engine_deed sizing = {ir, "the IR database", "limited to {MB} MB", set_max_size};
constexpr engine_deed setting_frequency = {ir, "the frequency of update checks", "set to {VALUE}",
                                           call_with_number<kqutm::ir::set_update_frequency, value>};
constexpr engine_deed setting_category = {ir, "the threat category", "set to {VALUE}",
                                          call_with_number<kqutm::ir::set_threat_category, value>};
constexpr engine_deed setting_whitelist = {ir, entry, "set in the whitelist with operation {OPERATION}",
                                           set_entry<kqutm::ir::set_whitelist>};
constexpr engine_deed setting_blacklist = {ir, entry, "set in the blacklist with operation {OPERATION}",
                                           set_entry<kqutm::ir::set_blacklist>};
constexpr engine_deed loading = {ir, "the database file {PATH}", "loaded", call_with_path<kqutm::ir::load>};
constexpr engine_deed flushing = {ir, "the IR database", "flushed with mode {MODE}",
                                  call_with_number<kqutm::ir::flush, flush_mode>};
// The library does not tell which of the two steps failed.
constexpr engine_deed resetting = {ir, engine, "flushed and switched off", call<kqutm::ir::reset>};

constexpr list_field<utm_ir_entry> entry_fields[] = {
    {"value", {"VALUE"}, [](const utm_ir_entry& one) -> json { return one.value; }},
    {"second", {"SECOND-VALUE"}, [](const utm_ir_entry& one) -> json { return one.second_value; }},
};
constexpr list_row<utm_ir_entry> whitelist = {ir, "the whitelist entries", entry_fields};
constexpr list_row<utm_ir_entry> blacklist = {ir, "the blacklist entries", entry_fields};

outcome show_version(const request& asked)
{
    const std::string what = "the version of the IR database was not read";
    const auto version = call_in_worker(what, asked.timeout, [] { return as_json(kqutm::ir::version()); },
                                        {.daemons = {ir}, .registry_lock = false})
                             .result;
    if (!version)
        throw failure(exchange_problem(what, ir, failed_exchange_with(ir, version.error().error)));
    return {.result = {{"version", *version}}, .lines = {*version}};
}

std::string check_max_size(const std::string& text)
{
    const std::string wrong = check_whole<INT32_MIN, INT32_MAX>(text);
    return wrong.empty() && whole_of<int32_t>(text) == 0 ? in_quotes(text) + " is not a size" : wrong;
}

constexpr argument size[] = {
    {"MB", occurs::once, check_max_size, "the limit in megabytes, any number but 0"},
};
constexpr argument entry_and_operation[] = {
    {"VALUE", occurs::once, check_whole<0, UINT32_MAX>, "the first number of the entry, which the daemon defines"},
    {"SECOND", occurs::once, check_whole<0, UINT16_MAX>, "the second number, up to 65535"},
    {"OPERATION", occurs::once, check_whole<0, 1>, "0 or 1; the daemon defines which is which"},
};
constexpr argument database_path[] = {
    {"PATH", occurs::once, check_path<127>, "the database file that the daemon opens"},
};

constexpr command commands[] = {
    {"switch", state, {perform<switching>, "utm_ir_activate"}, "switch the engine on or off", nullptr, "ir switch on"},
    {"version", {}, {show_version, "utm_ir_show_db_status"}, "print the version of the database"},
    {"update-frequency",
     value,
     {perform<setting_frequency>, "utm_ir_db_set_update_check_freq"},
     "set how often the daemon looks for updates"},
    {"max-size", size, {perform<sizing>, "utm_ir_db_set_max_size_mb"}, "limit the size of the database"},
    {"threat-category",
     value,
     {perform<setting_category>, "utm_ir_db_set_threat_category"},
     "select threat categories"},
    {"set-whitelist",
     entry_and_operation,
     {perform<setting_whitelist>, "utm_ir_db_set_whitelist"},
     "set an entry in the whitelist",
     nullptr,
     "ir set-whitelist 0xc0a80107 443 0"},
    {"set-blacklist",
     entry_and_operation,
     {perform<setting_blacklist>, "utm_ir_db_set_blacklist"},
     "set an entry in the blacklist"},
    {"whitelist",
     {},
     {show_list<whitelist, kqutm::ir::whitelist>, "utm_ir_db_get_whitelist"},
     "list the whitelist",
     nullptr,
     "ir whitelist --json"},
    {"blacklist", {}, {show_list<blacklist, kqutm::ir::blacklist>, "utm_ir_db_get_blacklist"}, "list the blacklist"},
    {"load", database_path, {perform<loading>, "utm_ir_load_db"}, "have the daemon load a database file"},
    {"debug", state, {perform<debugging>, "utm_ir_debug"}, "switch the daemon's debugging on or off"},
    {"reset",
     {},
     {perform<resetting>, "utm_ir_reset"},
     "flush the database and switch the engine off",
     "what the daemon flushes"},
    {"flush",
     flush_mode,
     {perform<flushing>, "utm_ir_flush"},
     "flush what the mode stands for",
     "what the mode stands for",
     "ir flush 0 --yes"},
};

} // namespace

constinit const family ir_family = {"ir", "the IR threat database", commands};
