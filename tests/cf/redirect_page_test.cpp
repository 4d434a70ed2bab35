// The page that blocked requests are redirected to.

#include "kqutm/cf.h"

#include "tests/sandbox/descriptors.h"
#include "tests/sandbox/filter.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

TEST(redirect_page, text_is_written_without_terminator_or_newline)
{
    wrap::plan plan;
    EXPECT_EQ(utm_cf_redirect_page("http://blocked.example/"), 0);
    EXPECT_EQ(content_of(kernel_redirect_url), "http://blocked.example/");
    EXPECT_EQ(plan.calls("write"), std::vector<std::string>{"write(23)"}) << "in one piece";
    const std::string opened = "open(/proc/net/cfilter_redirect_url, " + std::to_string(O_WRONLY | O_CLOEXEC) + ",";
    EXPECT_TRUE(plan.calls("open").at(0).starts_with(opened)) << plan.calls("open").at(0);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(redirect_page, text_of_1023_characters_is_written)
{
    const std::string longest(1023, 'x');
    EXPECT_EQ(utm_cf_redirect_page(longest.c_str()), 0);
    EXPECT_EQ(content_of(kernel_redirect_url), longest);
}

TEST(redirect_page, text_of_1024_characters_is_refused)
{
    write_file(kernel_redirect_url, "as it was");
    expect_failure(utm_cf_redirect_page(std::string(1024, 'x').c_str()), EINVAL);
    EXPECT_EQ(content_of(kernel_redirect_url), "as it was");
    EXPECT_EQ(appcf_log(), "The string length is too long.\n");
}

// Deliberate: an empty text is one zero byte, and whether the kernel took it is not looked at.
TEST(redirect_page, empty_text_is_one_zero_byte)
{
    EXPECT_EQ(utm_cf_redirect_page(""), 0);
    EXPECT_EQ(content_of(kernel_redirect_url), std::string(1, '\0'));
}

TEST(redirect_page, text_that_the_kernel_does_not_take_is_no_failure)
{
    wrap::plan plan;
    plan.fail("write", 1, EIO);
    EXPECT_EQ(utm_cf_redirect_page("http://blocked.example/"), 0);
    EXPECT_EQ(plan.count("write"), 1);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(redirect_page, kernel_without_the_filter)
{
    std::filesystem::remove(kernel_redirect_url);
    expect_failure(utm_cf_redirect_page("http://blocked.example/"), ENOENT);
    EXPECT_FALSE(exists(kernel_redirect_url)) << "it is not created";
    EXPECT_EQ(appcf_log(), "Open /proc/net/cfilter_redirect_url fail.\n");
}

// Deliberate: a page that got descriptor 0 stays open.
TEST(redirect_page, descriptor_0_stays_open)
{
    closed_stdin closed;
    EXPECT_EQ(utm_cf_redirect_page("text"), 0);
    EXPECT_EQ(fcntl(0, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(content_of(kernel_redirect_url), "text");
}

TEST(redirect_page, null_is_refused_without_a_line)
{
    write_file(kernel_redirect_url, "as it was");
    expect_failure(utm_cf_redirect_page(nullptr), EINVAL);
    EXPECT_EQ(content_of(kernel_redirect_url), "as it was");
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(redirect_page, daemon_is_not_told)
{
    config_daemons daemons;
    EXPECT_EQ(utm_cf_redirect_page("text"), 0);
    EXPECT_EQ(daemons.told(), paths{});
}

} // namespace
