// The ten operations on lists of URLs, domains and keywords.

#include "kqutm/cf.h"

#include "tests/sandbox/paths.h"
#include "tests/sandbox/rules.h"

#include <gtest/gtest.h>
#include <ostream>

namespace {

constexpr char too_long[] = "The string length is too long.\n";

struct list_operation {
    const char* name;
    uint8_t code;
    size_t offset;  // of the text
    size_t longest; // text
    int32_t (*with_url)(const char* url);
    int32_t (*with_text)(int32_t policy, const char* text);

    int32_t operator()(const char* text) const { return with_url != nullptr ? with_url(text) : with_text(-20, text); }

    // The record of a text: the four URL operations name no policy.
    request record(const std::string& text) const
    {
        request expected = cf_request(code);
        if (with_text != nullptr)
            expected.u32(8, 0xffffffec);
        return expected.text(offset, text);
    }

    friend std::ostream& operator<<(std::ostream& to, const list_operation& operation) { return to << operation.name; }
};

constexpr list_operation url(const char* name, uint8_t code, int32_t (*run)(const char* url))
{
    return {name, code, 8, 2047, run, nullptr};
}

constexpr list_operation policy(const char* name, uint8_t code, int32_t (*run)(int32_t policy, const char* text))
{
    return {name, code, 12, 511, nullptr, run};
}

class text_lists : public testing::TestWithParam<list_operation> {};

INSTANTIATE_TEST_SUITE_P(all, text_lists,
                         testing::Values(url("add_trusted_url", 8, utm_cf_add_trusted_url),
                                         url("del_trusted_url", 9, utm_cf_del_trusted_url),
                                         url("add_forbidden_url", 10, utm_cf_add_forbidden_url),
                                         url("del_forbidden_url", 11, utm_cf_del_forbidden_url),
                                         policy("add_trusted_domain", 12, utm_cf_policy_add_trusted_domain),
                                         policy("del_trusted_domain", 13, utm_cf_policy_del_trusted_domain),
                                         policy("add_forbidden_domain", 14, utm_cf_policy_add_forbidden_domain),
                                         policy("del_forbidden_domain", 15, utm_cf_policy_del_forbidden_domain),
                                         policy("add_domain_keyword", 16, utm_cf_policy_add_domain_keyword),
                                         policy("del_domain_keyword", 17, utm_cf_policy_del_domain_keyword)),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(text_lists, text_is_sent_as_given)
{
    config_daemons daemons;
    EXPECT_EQ(GetParam()(" Shop.EXAMPLE/%d?a=b\t"), 0);
    EXPECT_EQ(daemons.told(), paths{cf_path});
    EXPECT_EQ(daemons.request_of(cf_path), GetParam().record(" Shop.EXAMPLE/%d?a=b\t"));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(text_lists, empty_text_is_sent)
{
    config_daemons daemons;
    EXPECT_EQ(GetParam()(""), 0);
    EXPECT_EQ(daemons.request_of(cf_path), GetParam().record(""));
}

TEST_P(text_lists, longest_text_is_sent_with_its_terminator)
{
    config_daemons daemons;
    const std::string longest(GetParam().longest, 'x');
    EXPECT_EQ(GetParam()(longest.c_str()), 0);
    const sim::bytes sent = daemons.request_of(cf_path);
    EXPECT_EQ(sent, GetParam().record(longest));
    EXPECT_EQ(sent[GetParam().offset + GetParam().longest], 0);
}

TEST_P(text_lists, longer_text_is_refused)
{
    config_daemons daemons;
    const std::string longer(GetParam().longest + 1, 'x');
    expect_failure(GetParam()(longer.c_str()), EINVAL);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_EQ(appcf_log(), too_long);
}

TEST_P(text_lists, registry_is_not_asked)
{
    config_daemons daemons;
    wrap::plan plan;
    EXPECT_EQ(GetParam()("a.example"), 0);
    EXPECT_EQ(plan.count("ftok"), 0);
    EXPECT_FALSE(exists(registry_marker));
}

TEST_P(text_lists, refusal_leaves_no_line_of_its_own)
{
    config_daemons daemons({.cf = 2});
    expect_failure(GetParam()("a.example"), EREMOTEIO);
    EXPECT_EQ(appcf_log(), refused(2));
}

TEST_P(text_lists, absence_leaves_no_line_of_its_own)
{
    impatient caller;
    expect_failure(GetParam()("a.example"), ENOENT);
    EXPECT_EQ(appcf_log(), unreachable());
}

TEST_P(text_lists, silence_leaves_no_line_of_its_own)
{
    config_daemons daemons;
    unheard caller;
    expect_failure(GetParam()("a.example"), ETIMEDOUT);
    EXPECT_EQ(appcf_log(), unanswered);
}

TEST_P(text_lists, null_is_refused_without_a_line)
{
    config_daemons daemons;
    expect_failure(GetParam()(nullptr), EINVAL);
    EXPECT_EQ(daemons.told(), paths{});
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

} // namespace
