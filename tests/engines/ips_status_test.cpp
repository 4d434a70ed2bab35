#include "kqutm/ips.h"

#include "tests/engines/engines.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <cstdlib>
#include <memory>

namespace {

struct free_block {
    void operator()(utm_ips_message* block) const { free(block); }
};
using status_block = std::unique_ptr<utm_ips_message, free_block>;

std::string line(const char* text)
{
    return line_of("utm_ips_show_status", text);
}

// A block without a reply: zero, and a result that is no success.
sim::bytes without_reply()
{
    sim::bytes block(316);
    put_u32(block, 312, 0xffffffff);
    return block;
}

TEST(ips_status, is_the_whole_reply)
{
    engine_daemon daemon(ips_path, records{ips_reply(0)});
    wrap::plan plan;
    const status_block status(utm_ips_show_status());
    ASSERT_NE(status, nullptr);
    EXPECT_EQ(bytes_of(status.get(), 316), ips_reply(0));
    EXPECT_EQ(plan.calls("malloc"), std::vector<std::string>{"malloc(316)"});
    EXPECT_EQ(ips_log(), "");
}

// Deliberate: the status block is returned whatever the daemon answered, and also when no answer came.
TEST(ips_status, refusal_gives_a_block_all_the_same)
{
    engine_daemon daemon(ips_path, records{ips_reply(-5)});
    const status_block status(utm_ips_show_status());
    ASSERT_NE(status, nullptr);
    EXPECT_EQ(errno, EREMOTEIO);
    EXPECT_EQ(bytes_of(status.get(), 316), ips_reply(-5));
    EXPECT_EQ(ips_log(), line("show status fail"));
}

TEST(ips_status, failed_receive_gives_a_block_that_tells_no_success)
{
    engine_daemon daemon(ips_path, records{ips_reply(0)});
    wrap::plan plan;
    plan.fail("recv", 1, EIO);
    const status_block status(utm_ips_show_status());
    ASSERT_NE(status, nullptr);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(bytes_of(status.get(), 316), without_reply());
    EXPECT_EQ(ips_log(), line("recv fail"));
}

TEST(ips_status, closed_connection_gives_a_block_that_tells_no_success)
{
    engine_daemon daemon(ips_path, records{});
    const status_block status(utm_ips_show_status());
    ASSERT_NE(status, nullptr);
    EXPECT_EQ(errno, ENODATA);
    EXPECT_EQ(bytes_of(status.get(), 316), without_reply());
    EXPECT_EQ(ips_log(), line("show status fail"));
}

TEST(ips_status, short_reply_tells_no_success)
{
    engine_daemon daemon(ips_path, records{sim::bytes(314)});
    const status_block status(utm_ips_show_status());
    ASSERT_NE(status, nullptr);
    EXPECT_EQ(errno, EPROTO);
    EXPECT_EQ(status->result, -1);
    EXPECT_EQ(ips_log(), line("show status fail"));
}

TEST(ips_status, without_a_daemon)
{
    EXPECT_EQ(utm_ips_show_status(), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(ips_log(), line_of("connect_ips", "connect failed. Error") + line("connect to ips fail"));
}

TEST(ips_status, failed_send)
{
    engine_daemon daemon(ips_path, records{ips_reply(0)});
    wrap::plan plan;
    plan.fail("send", 1, ENOBUFS);
    EXPECT_EQ(utm_ips_show_status(), nullptr);
    EXPECT_EQ(errno, ENOBUFS);
    EXPECT_EQ(plan.count("malloc"), 0);
    EXPECT_EQ(ips_log(), line("send fail"));
}

TEST(ips_status, block_that_cannot_be_allocated)
{
    engine_daemon daemon(ips_path, records{ips_reply(0)});
    wrap::plan plan;
    plan.fail("malloc", 1, ENOMEM);
    EXPECT_EQ(utm_ips_show_status(), nullptr);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(plan.count("recv"), 0);
    EXPECT_EQ(ips_log(), line("memory allocate fail"));
}

TEST(ips_status, line_numbers_tell_messages_apart)
{
    expect_line_numbers_of_their_own(UTM_IPS_LOG, "utm_ips_show_status", 5, [] {
        fail_in_each_way([] { free(utm_ips_show_status()); }, ips_path, records{ips_reply(1)},
                         {"send", "recv", "malloc"});
    });
}

} // namespace
