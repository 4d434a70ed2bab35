#include "kqutm/common.h"

#include "tests/sandbox/files.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace {

using calls = std::vector<std::string>;

constexpr char flag[] = "/tmp/utm_debug_event_log";

TEST(debug_events, on_creates_one_empty_file_and_off_removes_it)
{
    for (int on : {1, 1, -1}) {
        EXPECT_EQ(utm_notify_debug(on), 0);
        EXPECT_TRUE(exists(flag));
        EXPECT_EQ(content_of(flag), "");
    }
    EXPECT_EQ(utm_notify_debug(0), 0);
    EXPECT_FALSE(exists(flag));
}

TEST(debug_events, on_leaves_what_the_file_holds)
{
    write_file(flag, "events\n");
    EXPECT_EQ(utm_notify_debug(1), 0);
    EXPECT_EQ(content_of(flag), "events\n");
}

TEST(debug_events, off_without_the_file_is_0)
{
    errno = EDOM;
    EXPECT_EQ(utm_notify_debug(0), 0);
    EXPECT_EQ(errno, EDOM);
}

// Deliberate: the command is the "touch" of the search path.
TEST(debug_events, on_is_one_shell_command)
{
    wrap::plan plan;
    EXPECT_EQ(utm_notify_debug(1), 0);
    EXPECT_EQ(plan.calls(), calls{"system(touch /tmp/utm_debug_event_log)"});
}

TEST(debug_events, what_fails_is_0_too)
{
    wrap::plan plan;
    plan.fail("system", 1, ENOMEM);
    EXPECT_EQ(utm_notify_debug(1), 0);
    EXPECT_FALSE(exists(flag));
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

} // namespace
