#include "kqutm/av.h"

#include "tests/engines/engines.h"
#include "tests/sandbox/printed.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <csignal>

namespace {

struct operation {
    const char* name;
    int32_t (*call)();
};

void PrintTo(const operation& operation, std::ostream* out)
{
    *out << operation.name;
}

utm_av_status ignored;

const operation operations[] = {
    {"utm_av_activate", [] { return utm_av_activate(1); }},
    {"utm_av_show_status", [] { return utm_av_show_status(&ignored); }},
    {"utm_av_cache_set_max_size", [] { return utm_av_cache_set_max_size(10); }},
    {"utm_av_set_whitelist", [] { return utm_av_set_whitelist("x", 1); }},
    {"utm_av_debug", [] { return utm_av_debug(1); }},
    {"utm_av_reset", [] { return utm_av_reset(); }},
    {"utm_av_flush", [] { return utm_av_flush(); }},
};

class av_operation : public testing::TestWithParam<operation> {
protected:
    // Expects the operation to say so alone: neither a log nor a print.
    void expect_failure(int cause) const
    {
        const std::string printed = printed_by([&] {
            EXPECT_EQ(GetParam().call(), -1);
            EXPECT_EQ(errno, cause);
        });
        EXPECT_EQ(printed, "");
        EXPECT_FALSE(exists("/tmp/utm_log"));
    }
};
INSTANTIATE_TEST_SUITE_P(operations, av_operation, testing::ValuesIn(operations),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(av_operation, is_one_exchange)
{
    engine_daemon daemon(av_path, records{av_reply(0)});
    wrap::plan plan;
    EXPECT_EQ(GetParam().call(), 0);
    EXPECT_EQ(plan.count("connect"), 1);
    EXPECT_EQ(plan.calls("send"), std::vector<std::string>{"send(96, " + std::to_string(MSG_NOSIGNAL) + ")"});
    EXPECT_EQ(plan.calls("recv"), std::vector<std::string>{"recv(96, 0)"});
    EXPECT_EQ(plan.count("malloc"), 0);
    EXPECT_EQ(plan.count("pthread_sigmask"), 0);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(av_operation, hands_every_status_back)
{
    for (int32_t status : {1, -1, 2, -7, INT32_MAX, INT32_MIN}) {
        engine_daemon daemon(av_path, records{av_reply(status)});
        EXPECT_EQ(GetParam().call(), status);
        EXPECT_EQ(errno, EREMOTEIO);
    }
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(av_operation, without_a_daemon)
{
    expect_failure(ENOENT);
}

TEST_P(av_operation, failed_send)
{
    engine_daemon daemon(av_path, records{av_reply(0)});
    wrap::plan plan;
    plan.fail("send", 1, ENOBUFS);
    expect_failure(ENOBUFS);
    EXPECT_EQ(plan.count("recv"), 0);
}

TEST_P(av_operation, failed_receive)
{
    engine_daemon daemon(av_path, records{av_reply(0)});
    wrap::plan plan;
    plan.fail("recv", 1, EIO);
    expect_failure(EIO);
}

TEST_P(av_operation, no_answer_in_time)
{
    engine_daemon daemon(av_path, sim::script{sim::receive(), sim::await_close()});
    wrap::plan plan;
    plan.fail("recv", 1, EAGAIN);
    expect_failure(ETIMEDOUT);
}

TEST_P(av_operation, daemon_that_dies_before_the_request_raises_no_sigpipe)
{
    deaf_daemon daemon(av_path);
    signal(SIGPIPE, SIG_DFL);
    wrap::plan plan;
    plan.before("send", 1, [&] { daemon.die(); });
    expect_failure(EPIPE);
}

TEST_P(av_operation, daemon_that_dies_before_reading)
{
    deaf_daemon daemon(av_path);
    wrap::plan plan;
    plan.before("recv", 1, [&] { daemon.die(); });
    expect_failure(ECONNRESET);
}

TEST_P(av_operation, daemon_that_closes_instead_of_answering)
{
    engine_daemon daemon(av_path, records{});
    expect_failure(ENODATA);
}

TEST_P(av_operation, short_reply_never_succeeds)
{
    for (size_t size : {1U, 92U, 94U, 95U}) {
        engine_daemon daemon(av_path, records{sim::bytes(size)});
        expect_failure(EPROTO);
    }
}

struct bad_argument {
    const char* what;
    int32_t (*call)();
};

const bad_argument bad_arguments[] = {
    {"switch_2", [] { return utm_av_activate(2); }},
    {"debug_2", [] { return utm_av_debug(2); }},
    {"debug_negative", [] { return utm_av_debug(UINT32_MAX); }},
    {"size_11", [] { return utm_av_cache_set_max_size(11); }},
    {"entry_null", [] { return utm_av_set_whitelist(nullptr, 0); }},
    {"entry_empty", [] { return utm_av_set_whitelist("", 0); }},
    {"operation_2", [] { return utm_av_set_whitelist("x", 2); }},
    {"status_null", [] { return utm_av_show_status(nullptr); }},
};

class av_bad_argument : public testing::TestWithParam<bad_argument> {};
INSTANTIATE_TEST_SUITE_P(arguments, av_bad_argument, testing::ValuesIn(bad_arguments),
                         [](const auto& test) { return std::string(test.param.what); });

TEST_P(av_bad_argument, is_refused_before_any_connection)
{
    wrap::plan plan;
    EXPECT_EQ(GetParam().call(), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(plan.calls(), std::vector<std::string>{});
}

TEST(av_values, at_the_ends_of_their_ranges_are_sent)
{
    engine_daemon daemon(av_path, records{av_reply(0)});
    EXPECT_EQ(utm_av_activate(0), 0);
    EXPECT_EQ(utm_av_debug(0), 0);
    EXPECT_EQ(utm_av_cache_set_max_size(0), 0);
    EXPECT_EQ(utm_av_set_whitelist("x", 0), 0);
    EXPECT_EQ(daemon.requests().size(), 4U);
}

constexpr utm_av_status untouched = {0x11111111, {0x22222222, 0x33333333, 0x44444444}};

sim::bytes reply_with_words(int32_t status)
{
    sim::bytes record = av_reply(status);
    put_u32(record, 4, 0xa1);
    put_u32(record, 8, 0xb2);
    put_u32(record, 12, 0xc3);
    return record;
}

TEST(av_status, words_2_to_4_are_those_of_the_reply)
{
    for (int32_t result : {0, 5, -2}) {
        engine_daemon daemon(av_path, records{reply_with_words(result)});
        utm_av_status status = untouched;
        EXPECT_EQ(utm_av_show_status(&status), result);
        EXPECT_EQ(u32_at(&status, 0), 0x11111111U);
        EXPECT_EQ(u32_at(&status, 4), 0xa1U);
        EXPECT_EQ(u32_at(&status, 8), 0xb2U);
        EXPECT_EQ(u32_at(&status, 12), 0xc3U);
    }
}

TEST(av_status, failure_leaves_the_record_untouched)
{
    for (const records& replies : {records{reply_with_words(-1)}, records{}, records{sim::bytes(95)}}) {
        engine_daemon daemon(av_path, replies);
        utm_av_status status = untouched;
        EXPECT_EQ(utm_av_show_status(&status), -1);
        EXPECT_EQ(bytes_of(&status, 16), bytes_of(&untouched, 16));
    }
}

} // namespace
