#include "operations/profile_codes.h"

namespace operations {

namespace {

using enum field_type;
using enum reply_form;

constexpr size_t body = offsetof(utm_cf_config_event, body);

constexpr field path[] = {{"path", text, 8, 128}};
constexpr field profile[] = {{"profile", signed_number, 8, 4}};
constexpr field policy[] = {{"policy", signed_number, 8, 4}};
constexpr field block[] = {{"policy", signed_number, 8, 4}, {"block", hex, 12, 128}};
constexpr field binding[] = {{"profile", signed_number, 8, 4}, {"policy", signed_number, 12, 4}};
constexpr field url[] = {{"url", text, 8, 2048}};
constexpr field domain[] = {{"policy", signed_number, 8, 4}, {"domain", text, 12, 512}};
constexpr field keyword[] = {{"policy", signed_number, 8, 4}, {"keyword", text, 12, 512}};
constexpr field value[] = {{"value", signed_number, 8, 4}};
constexpr field flush_type[] = {{"type", signed_number, 8, 4}};
constexpr field flush_types[] = {{"policy", signed_number, 8, 4}, {"type", signed_number, 12, 4}};

constexpr field browsed[] = {{"domain", text, 288, 512}, {"value", number, 800, 4}};

constexpr code_row codes[] = {
    create_profile<body>,
    delete_profile<body>,
    add_device<body>,
    delete_device<body>,
    {UTM_CF_DUMP, "dump", path},
    {UTM_CF_POLICY_CREATE, "create policy", policy},
    {UTM_CF_POLICY_BLOCK, "set block", block},
    {UTM_CF_BIND_POLICY, "bind policy", binding},
    {UTM_CF_ADD_TRUSTED_URL, "add trusted URL", url},
    {UTM_CF_DELETE_TRUSTED_URL, "delete trusted URL", url},
    {UTM_CF_ADD_FORBIDDEN_URL, "add forbidden URL", url},
    {UTM_CF_DELETE_FORBIDDEN_URL, "delete forbidden URL", url},
    {UTM_CF_ADD_TRUSTED_DOMAIN, "add trusted domain", domain},
    {UTM_CF_DELETE_TRUSTED_DOMAIN, "delete trusted domain", domain},
    {UTM_CF_ADD_FORBIDDEN_DOMAIN, "add forbidden domain", domain},
    {UTM_CF_DELETE_FORBIDDEN_DOMAIN, "delete forbidden domain", domain},
    {UTM_CF_ADD_DOMAIN_KEYWORD, "add keyword", keyword},
    {UTM_CF_DELETE_DOMAIN_KEYWORD, "delete keyword", keyword},
    {UTM_CF_WEB_SAFE_BROWSING_ACTIVATE, "switch web safe browsing", value},
    {UTM_CF_WEB_CATEGORY_ACTIVATE, "switch web category", value},
    {UTM_CF_DEBUG, "debug", value},
    {UTM_CF_GLOBAL_FLUSH, "flush", flush_type},
    {UTM_CF_POLICY_FLUSH, "flush policy", flush_types},
    {UTM_CF_GET_BROWSED_DOMAINS, "get browsed domains", profile, browsed, list},
};

} // namespace

std::span<const code_row> cf_codes()
{
    return codes;
}

} // namespace operations
