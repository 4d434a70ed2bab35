// The lists of URLs, domains and keywords. A refusal by the daemon leaves no line in the log.

#include "kqutm/cf.h"

#include "common/text.h"
#include "event/exchange.h"

namespace {

template <size_t Size> bool put_list_text(char (&field)[Size], const char* text)
{
    if (put_whole_text(field, text))
        return true;
    if (text != nullptr)
        utm_log(UTM_APPCF_LOG, "The string length is too long.\n");
    return false;
}

int32_t change_urls(uint8_t code, const char* url)
{
    utm_cf_config_event event = {.code = code};
    return put_list_text(event.body.url, url) ? tell(event) : -1;
}

int32_t change_policy_texts(uint8_t code, int32_t policy, const char* text)
{
    utm_cf_config_event event = {.code = code, .body = {.policy_text = {.id = policy}}};
    return put_list_text(event.body.policy_text.text, text) ? tell(event) : -1;
}

} // namespace

UTM_API int32_t utm_cf_add_trusted_url(const char* url)
{
    return change_urls(UTM_CF_ADD_TRUSTED_URL, url);
}

UTM_API int32_t utm_cf_del_trusted_url(const char* url)
{
    return change_urls(UTM_CF_DELETE_TRUSTED_URL, url);
}

UTM_API int32_t utm_cf_add_forbidden_url(const char* url)
{
    return change_urls(UTM_CF_ADD_FORBIDDEN_URL, url);
}

UTM_API int32_t utm_cf_del_forbidden_url(const char* url)
{
    return change_urls(UTM_CF_DELETE_FORBIDDEN_URL, url);
}

UTM_API int32_t utm_cf_policy_add_trusted_domain(int32_t policy, const char* text)
{
    return change_policy_texts(UTM_CF_ADD_TRUSTED_DOMAIN, policy, text);
}

UTM_API int32_t utm_cf_policy_del_trusted_domain(int32_t policy, const char* text)
{
    return change_policy_texts(UTM_CF_DELETE_TRUSTED_DOMAIN, policy, text);
}

UTM_API int32_t utm_cf_policy_add_forbidden_domain(int32_t policy, const char* text)
{
    return change_policy_texts(UTM_CF_ADD_FORBIDDEN_DOMAIN, policy, text);
}

UTM_API int32_t utm_cf_policy_del_forbidden_domain(int32_t policy, const char* text)
{
    return change_policy_texts(UTM_CF_DELETE_FORBIDDEN_DOMAIN, policy, text);
}

UTM_API int32_t utm_cf_policy_add_domain_keyword(int32_t policy, const char* text)
{
    return change_policy_texts(UTM_CF_ADD_DOMAIN_KEYWORD, policy, text);
}

UTM_API int32_t utm_cf_policy_del_domain_keyword(int32_t policy, const char* text)
{
    return change_policy_texts(UTM_CF_DELETE_DOMAIN_KEYWORD, policy, text);
}
