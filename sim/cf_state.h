#pragma once

#include "kqutm/cf.h"
#include "sim/id_table.h"
#include "sim/kernel_switches.h"
#include "sim/unique_list.h"

namespace sim {

using text_list = unique_list<std::string>;

struct browsed_domain {
    std::string domain;
    uint32_t value = 0;

    static void members(auto& self, auto&& each)
    {
        each("domain", self.domain);
        each("value", self.value);
    }
};

struct cf_profile {
    unique_list<mac_address> devices;
    int32_t policy = 0; // 0: none
    std::vector<browsed_domain> browsed_domains;

    static void members(auto& self, auto&& each)
    {
        each("devices", self.devices);
        each("policy", self.policy);
        each("browsed_domains", self.browsed_domains);
    }
};

struct cf_policy {
    std::optional<opaque<UTM_CF_BLOCK_SIZE>> block;
    text_list trusted_domains;
    text_list forbidden_domains;
    text_list keywords;

    static void members(auto& self, auto&& each)
    {
        each("block", self.block);
        each("trusted_domains", self.trusted_domains);
        each("forbidden_domains", self.forbidden_domains);
        each("keywords", self.keywords);
    }
};

// What the content-filter daemon holds.
struct cf_state {
    id_table<cf_profile> profiles;
    id_table<cf_policy> policies;
    text_list trusted_urls;
    text_list forbidden_urls;
    int32_t web_safe_browsing = 0;
    int32_t web_category = 0;
    int32_t debug = 0;
    bool filtering = false;        // as the last command had it
    std::vector<int32_t> commands; // that came by the command file
    kernel_switches kernel;        // to start with

    static void members(auto& self, auto&& each)
    {
        each("profiles", self.profiles);
        each("policies", self.policies);
        each("trusted_urls", self.trusted_urls);
        each("forbidden_urls", self.forbidden_urls);
        each("web_safe_browsing", self.web_safe_browsing);
        each("web_category", self.web_category);
        each("debug", self.debug);
        each("filtering", self.filtering);
        each("commands", self.commands);
        each("kernel", self.kernel);
    }
};

} // namespace sim
