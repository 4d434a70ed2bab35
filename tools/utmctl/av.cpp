#include "kqutm/engines.h"

#include "tools/utmctl/engine_call.h"
#include "tools/utmctl/engine_list.h"
#include "tools/utmctl/engine_status.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/text_argument.h"

namespace {

using kqutm::text_of;

constexpr engine_service av = {{"anti-virus", UTM_AV_SOCKET}};

constexpr char engine[] = "the anti-virus engine";

constexpr argument cache_limit[] = {
    {"LIMIT", occurs::once, check_whole<0, 10>, "the limit, 0 to 10, in the daemon's own unit"},
};
constexpr argument entry_and_operation[] = {
    {"ENTRY", occurs::once, check_text<32>, "what the daemon takes for an entry, up to 32 characters"},
    {"OPERATION", occurs::once, check_whole<0, 1>, "0 or 1; the daemon defines which is which"},
};

constexpr engine_deed switching = {av, engine, "switched {STATE}", call_with_state<kqutm::av::activate>};
constexpr engine_deed debugging = {av, "debugging of the anti-virus engine", "switched {STATE}",
                                   call_with_state<kqutm::av::set_debug>};
constexpr engine_deed sizing = {av, "the scan cache", "limited to {LIMIT}",
                                call_with_number<kqutm::av::set_max_cache_size, cache_limit>};
constexpr engine_deed setting_whitelist = {av, "{ENTRY}", "set in the whitelist with operation {OPERATION}",
                                           call_with_text_and_number<kqutm::av::set_whitelist, entry_and_operation>};
constexpr engine_deed resetting = {av, engine, "reset", call<kqutm::av::reset>};
constexpr engine_deed flushing = {av, engine, "flushed", call<kqutm::av::flush>};

constexpr status_row status = {av, "the status of the anti-virus engine", 1,
                               read_words<utm_av_status, utm_av_show_status>, is_not_zero};

constexpr list_field<utm_av_entry> whitelist_fields[] = {
    {"entry", {"ENTRY", false}, [](const utm_av_entry& one) -> json { return text_of(one.whitelist_entry); }},
};
constexpr list_field<utm_av_entry> cache_fields[] = {
    {"key", {"KEY", false}, [](const utm_av_entry& one) -> json { return text_of(one.cache_key); }},
    {"value", {"VALUE", false}, [](const utm_av_entry& one) -> json { return text_of(one.cache_value); }},
};
constexpr list_row<utm_av_entry> whitelist = {av, "the whitelist entries", whitelist_fields};
constexpr list_row<utm_av_entry> cache = {av, "the cache entries", cache_fields};

constexpr command commands[] = {
    {"switch", state, {perform<switching>, "utm_av_activate"}, "switch the engine on or off", nullptr, "av switch on"},
    {"status",
     raw_block,
     {show_status<status>, "utm_av_show_status"},
     "show the engine's status, in words that the daemon defines"},
    {"cache-size", cache_limit, {perform<sizing>, "utm_av_cache_set_max_size"}, "limit the scan cache"},
    {"cache",
     {},
     {show_list<cache, kqutm::av::cache>, "utm_av_show_cache"},
     "list the scan cache, the newest entry first",
     nullptr,
     "av cache --json"},
    {"set-whitelist",
     entry_and_operation,
     {perform<setting_whitelist>, "utm_av_set_whitelist"},
     "set an entry in the whitelist",
     nullptr,
     "av set-whitelist 275a021bbfb6489e54d471899f7db9d1 0"},
    {"whitelist", {}, {show_list<whitelist, kqutm::av::whitelist>, "utm_av_show_whitelist"}, "list the whitelist"},
    {"debug", state, {perform<debugging>, "utm_av_debug"}, "switch the daemon's debug output on or off"},
    {"reset", {}, {perform<resetting>, "utm_av_reset"}, "set the engine back", "the engine's settings"},
    {"flush", {}, {perform<flushing>, "utm_av_flush"}, "flush the engine", "what the daemon flushes", "av flush --yes"},
};

} // namespace

constinit const family av_family = {"av", "the anti-virus engine", commands};
