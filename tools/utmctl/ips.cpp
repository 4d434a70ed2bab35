#include "kqutm/engines.h"

#include "tools/utmctl/engine_call.h"
#include "tools/utmctl/engine_list.h"
#include "tools/utmctl/engine_status.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/file_path.h"
#include "tools/utmctl/log_watch.h"
#include "tools/utmctl/text_argument.h"

#include <algorithm>

namespace {

using kqutm::text_of;

constexpr engine_service ips = {{"IPS", UTM_IPS_SOCKET}};

constexpr argument rule_and_action[] = {
    {"RULE", occurs::once, check_text<10>, "the rule's identifier, up to 10 characters"},
    {"ACTION", occurs::once, check_whole<0, 1>, "0 or 1; the daemon defines which is which"},
};

constexpr engine_deed switching = {ips, "the IPS engine", "switched {STATE}", call_with_state<kqutm::ips::activate>};
constexpr engine_deed setting_whitelist = {ips, "rule {RULE}", "set in the whitelist with action {ACTION}",
                                           call_with_text_and_number<kqutm::ips::set_whitelist, rule_and_action>};
constexpr engine_deed setting_blacklist = {ips, "rule {RULE}", "set in the blacklist with action {ACTION}",
                                           call_with_text_and_number<kqutm::ips::set_blacklist, rule_and_action>};
constexpr engine_deed updating_signature = {ips, "the signature file {PATH}", "loaded",
                                            call_with_path<kqutm::ips::update_signature>};
constexpr engine_deed debugging = {ips, "debugging of the IPS engine", "switched {STATE}",
                                   call_with_state<kqutm::ips::set_debug>};
constexpr engine_deed resetting = {ips, "the IPS engine", "reset", call<kqutm::ips::reset>};
constexpr engine_deed flushing = {ips, "the IPS engine", "flushed with mode {MODE}",
                                  call_with_number<kqutm::ips::flush, flush_mode>};

status_reading read_status()
{
    utm_ips_message* status = utm_ips_show_status();
    if (status == nullptr)
        return {.returned = -1};
    const auto* bytes = reinterpret_cast<const uint8_t*>(status);
    status_reading reading = {.returned = status->result, .block = {bytes, bytes + sizeof *status}};
    free(status);
    return reading;
}

constexpr status_row status = {
    .daemon = ips,
    .subject = "the status of the IPS engine",
    .first_word = 0,
    .read = read_status,
    .refuses = is_not_zero,
};

constexpr list_field<utm_ips_rule> rule_fields[] = {
    {"name", {"RULE", false}, [](const utm_ips_rule& rule) -> json { return text_of(rule.name); }},
};
constexpr list_row<utm_ips_rule> rules = {ips, "the customized rules", rule_fields};

// Only the library's log tells whether the daemon holds as many rules as it can.
outcome list_rules(const request& asked)
{
    constexpr char limit_reached[] = "Reach maximum customizelist rule number";
    const log_watch log(UTM_IPS_LOG);
    outcome listed = fetch_list(rules, {kqutm::ips::rules}, asked.timeout);
    const std::vector<std::string> lines = log.lines();
    const bool full =
        std::any_of(lines.begin(), lines.end(), [&](const std::string& line) { return line.ends_with(limit_reached); });
    listed.result["limit_reached"] = full;
    if (full)
        listed.confirmations.emplace_back("the IPS engine holds as many rules as it can");
    return listed;
}

constexpr argument signature_path[] = {
    {"PATH", occurs::once, check_path<255>, "the signature file that the daemon opens"},
};
constexpr command commands[] = {
    {"switch",
     state,
     {perform<switching>, "utm_ips_activate"},
     "switch the engine on or off",
     nullptr,
     "ips switch on"},
    {"status",
     raw_block,
     {show_status<status>, "utm_ips_show_status"},
     "show the engine's status, in words that the daemon defines"},
    {"set-whitelist",
     rule_and_action,
     {perform<setting_whitelist>, "utm_ips_set_whitelist"},
     "set a rule in the whitelist",
     nullptr,
     "ips set-whitelist 1000027 0"},
    {"set-blacklist",
     rule_and_action,
     {perform<setting_blacklist>, "utm_ips_set_blacklist"},
     "set a rule in the blacklist"},
    {"rules", {}, {list_rules, "utm_ips_show_customizelist"}, "list the customized rules", nullptr, "ips rules --json"},
    {"update-signature",
     signature_path,
     {perform<updating_signature>, "utm_ips_update_signature"},
     "have the daemon load a signature file"},
    {"debug", state, {perform<debugging>, "utm_ips_debug"}, "switch the daemon's debugging on or off"},
    {"reset", {}, {perform<resetting>, "utm_ips_reset"}, "set the engine back", "the engine's settings"},
    {"flush",
     flush_mode,
     {perform<flushing>, "utm_ips_flush"},
     "flush what the mode stands for",
     "what the mode stands for",
     "ips flush 0 --yes"},
};

} // namespace

constinit const family ips_family = {"ips", "the intrusion-prevention engine", commands};
