#pragma once

#include "tools/utmctl/text_argument.h"
#include "tools/utmctl/text_list.h"

#include "kqutm.hpp"

// The content filter's lists: URLs, which belong to no policy, and the domains and keywords of a policy.

// What one command does to each of its texts.
struct list_change {
    const argument& texts;
    const char* noun; // of one text
    const char* participle;
    kqutm::result<kqutm::done> (*call)(const request& asked, const std::string& text);
};

inline constexpr argument urls = {"URL", occurs::any_number, check_text<2047>, "URLs of up to 2047 characters"};
inline constexpr argument domains = {"DOMAIN", occurs::any_number, check_text<511>, "domains of up to 511 characters"};
inline constexpr argument keywords = {"KEYWORD", occurs::any_number, check_text<511>,
                                      "keywords of up to 511 characters"};

extern const list_change add_trusted_url;
extern const list_change del_trusted_url;
extern const list_change add_forbidden_url;
extern const list_change del_forbidden_url;
extern const list_change add_trusted_domain;
extern const list_change del_trusted_domain;
extern const list_change add_forbidden_domain;
extern const list_change del_forbidden_domain;
extern const list_change add_keyword;
extern const list_change del_keyword;

outcome change_list(const list_change& row, const request& asked);

template <const list_change& row> outcome change_list(const request& asked)
{
    return change_list(row, asked);
}
