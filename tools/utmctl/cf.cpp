#include "tools/utmctl/arguments.h"
#include "tools/utmctl/cf_lists.h"
#include "tools/utmctl/cf_switches.h"
#include "tools/utmctl/config_deed.h"
#include "tools/utmctl/dump.h"
#include "tools/utmctl/families.h"
#include "tools/utmctl/file_path.h"
#include "tools/utmctl/hex.h"
#include "tools/utmctl/number.h"
#include "tools/utmctl/policy.h"
#include "tools/utmctl/registry_view.h"

#include <algorithm>

namespace {

constexpr const config_daemon& content_filter = config_daemons[UTM_CONFIG_TARGET_CF];

std::optional<kqutm::cf_policy_id> policy_of(const request& asked)
{
    return id_or_none<kqutm::cf_policy_id>(asked.one("POLICY"));
}

int32_t type_of(const request& asked)
{
    return whole_of<int32_t>(asked.one("TYPE"));
}

constexpr config_change debug = {
    content_filter, "the content filter's debug value", "set to {VALUE}",
    [](const request& asked) { return kqutm::filter::set_debug(switch_of(asked.one("VALUE"))); }};
constexpr config_change flush = {content_filter, "the content filter", "flushed with type {TYPE}",
                                 [](const request& asked) { return kqutm::filter::flush(type_of(asked)); }};
// No policy for the layer.
constexpr config_change flush_policy_0 = {
    content_filter, "policy 0, whatever the daemon takes that for,", "flushed with type {TYPE}",
    [](const request& asked) { return done_if_zero(utm_cf_policy_flush(type_of(asked), 0)); }};
constexpr config_change flush_one_policy = {
    content_filter, "content-filter policy {POLICY}", "flushed with type {TYPE}",
    [](const request& asked) { return kqutm::filter::flush(type_of(asked), *policy_of(asked)); }};
constexpr dump_kind whole_dump = {"the dump of the content filter", content_filter, kqutm::filter::dump};

void demand_policy(const request& asked, const std::string& what)
{
    demand_registered(read_registry(what, asked.timeout), *policy_of(asked), what);
}

outcome flush_policy(const request& asked)
{
    if (!policy_of(asked))
        return change(flush_policy_0, asked);
    demand_policy(asked, "content-filter policy " + asked.one("POLICY") + " was not flushed");
    return change(flush_one_policy, asked);
}

constexpr argument block_pieces = {"BLOCK", occurs::any_number, check_hex<1, UTM_CF_BLOCK_SIZE>,
                                   "the 128 bytes as hexadecimal digits, in one or more pieces"};

kqutm::filter::category_block block_of(const request& asked, const std::string& what)
{
    const std::vector<uint8_t> bytes = bytes_of(texts_of(asked, block_pieces, what));
    kqutm::filter::category_block block = {};
    if (bytes.size() != block.size())
        refuse_arguments(asked, "a category block has 128 bytes, not " + std::to_string(bytes.size()));
    std::ranges::copy(bytes, block.begin());
    return block;
}

outcome set_block(const request& asked)
{
    const kqutm::cf_policy_id policy = *policy_of(asked);
    const deed_words words = {"the category block of " + named(policy), "set"};
    const kqutm::filter::category_block block = block_of(asked, not_done(words));
    demand_policy(asked, not_done(words));
    exchange(words, content_filter, asked.timeout, [&] { return as_json(kqutm::filter::set_block(policy, block)); });
    return {.result = {{"policy", policy.number()}, {"block", hex_of(block)}}, .confirmations = {done(words)}};
}

constexpr argument policy = {"POLICY", occurs::once, check_id, "the identifier of the content-filter policy"};
constexpr argument type = {"TYPE", occurs::once, check_number, "the flush type, whose meaning is the daemon's"};
constexpr argument new_id[] = {
    {"ID", occurs::at_most_once, check_id_or_zero, "the identifier to take; 0 or none: the current time in seconds"},
};
constexpr argument policy_and_block[] = {policy, block_pieces, texts_from_file};
constexpr argument some_urls[] = {urls, texts_from_file};
constexpr argument policy_and_domains[] = {policy, domains, texts_from_file};
constexpr argument policy_and_keywords[] = {policy, keywords, texts_from_file};
constexpr argument switch_value[] = {{"SWITCH", occurs::once, check_switch, "on, off, or a whole number"}};
constexpr argument kernel_mode[] = {
    {"MODE", occurs::once, check_switch, "on, off, or a whole number; any but 0 and 1 commands the daemon off"},
};
constexpr argument page[] = {
    {"TEXT", occurs::at_most_once, check_text<1023>, "the page, of up to 1023 characters; none clears it"},
};
constexpr argument debug_value[] = {
    {"VALUE", occurs::once, check_switch, "on, off, or a whole number, whose meaning is the daemon's"},
};
constexpr argument dump_file[] = {
    {"FILE", occurs::once, check_shell_path, "the file, with nothing in its path that a shell interprets"},
};
constexpr argument flush_type[] = {type};
constexpr argument type_and_policy[] = {
    type,
    {"POLICY", occurs::once, check_whole<0, INT32_MAX>, "the policy's identifier, or 0"},
};

constexpr command commands[] = {
    {"create-policy",
     new_id,
     {create_policy<cf_policies>, "utm_cf_policy_create"},
     "create a content-filter policy and print its identifier",
     nullptr,
     "cf create-policy 70"},
    {"set-block",
     policy_and_block,
     {set_block, "utm_cf_policy_config_block"},
     "set a policy's category block",
     nullptr,
     "cf set-block 70 -f block.hex"},
    {"add-trusted-url",
     some_urls,
     {change_list<add_trusted_url>, "utm_cf_add_trusted_url"},
     "add URLs to the trusted ones",
     nullptr,
     "cf add-trusted-url http://example.org/ -f urls.txt"},
    {"del-trusted-url",
     some_urls,
     {change_list<del_trusted_url>, "utm_cf_del_trusted_url"},
     "take URLs off the trusted ones"},
    {"add-forbidden-url",
     some_urls,
     {change_list<add_forbidden_url>, "utm_cf_add_forbidden_url"},
     "add URLs to the forbidden ones"},
    {"del-forbidden-url",
     some_urls,
     {change_list<del_forbidden_url>, "utm_cf_del_forbidden_url"},
     "take URLs off the forbidden ones"},
    {"add-trusted-domain",
     policy_and_domains,
     {change_list<add_trusted_domain>, "utm_cf_policy_add_trusted_domain"},
     "add trusted domains to a policy",
     nullptr,
     "cf add-trusted-domain 70 example.org"},
    {"del-trusted-domain",
     policy_and_domains,
     {change_list<del_trusted_domain>, "utm_cf_policy_del_trusted_domain"},
     "take trusted domains off a policy"},
    {"add-forbidden-domain",
     policy_and_domains,
     {change_list<add_forbidden_domain>, "utm_cf_policy_add_forbidden_domain"},
     "add forbidden domains to a policy"},
    {"del-forbidden-domain",
     policy_and_domains,
     {change_list<del_forbidden_domain>, "utm_cf_policy_del_forbidden_domain"},
     "take forbidden domains off a policy"},
    {"add-keyword",
     policy_and_keywords,
     {change_list<add_keyword>, "utm_cf_policy_add_domain_keyword"},
     "add domain keywords to a policy"},
    {"del-keyword",
     policy_and_keywords,
     {change_list<del_keyword>, "utm_cf_policy_del_domain_keyword"},
     "take domain keywords off a policy"},
    {"safe-browsing",
     switch_value,
     {switch_engine<safe_browsing>, "utm_cf_web_safe_browsing_activate"},
     "switch safe browsing",
     nullptr,
     "cf safe-browsing on"},
    {"web-category",
     switch_value,
     {switch_engine<web_category>, "utm_cf_web_category_activate"},
     "switch web-category filtering"},
    {"activate",
     {},
     {follow_engines, "utm_cf_activate"},
     "switch the filter as a whole on while one of its engines is on, else off"},
    {"switch-kernel",
     kernel_mode,
     {switch_kernel, "__utm_cf_activate"},
     "switch the kernel and command the daemon, whatever the engines are"},
    {"status", {}, show_filter, "show the engines, the filter as a whole, the kernel's switches and the daemon"},
    {"redirect-page",
     page,
     {set_redirect_page, "utm_cf_redirect_page"},
     "set the page that blocked requests are redirected to"},
    {"dump",
     dump_file,
     {dump<whole_dump>, "utm_cf_dump_all"},
     "write the content filter's configuration to a file, and print it",
     nullptr,
     "cf dump /tmp/cf.txt"},
    {"dump-kernel", dump_file, {dump_kernel, "dump_cf_activate"}, "append the kernel's switches to a file"},
    {"debug", debug_value, {change<debug>, "utm_cf_debug"}, "set the daemon's debug value"},
    {"flush",
     flush_type,
     {change<flush>, "utm_cf_global_flush"},
     "flush the content filter",
     "what the daemon holds",
     "cf flush 0 --yes"},
    {"flush-policy",
     type_and_policy,
     {flush_policy, "utm_cf_policy_flush"},
     "flush one policy, or with 0 whatever the daemon takes that for (the simulator: all)",
     "what the policy holds, or with 0 whatever the daemon takes that for",
     "cf flush-policy 1 70 --yes"},
};

} // namespace

constinit const family cf_family = {"cf", "the content filter", commands};
