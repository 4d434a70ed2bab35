#include "kqutm/ips.h"

#include "tests/engines/bad_arguments.h"
#include "tests/engines/engines.h"
#include "tests/sandbox/printed.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <climits>
#include <csignal>

namespace {

struct operation {
    const char* name;
    int32_t (*call)();
    const char* refused;
};

void PrintTo(const operation& operation, std::ostream* out)
{
    *out << operation.name;
}

const operation operations[] = {
    {"utm_ips_activate", [] { return utm_ips_activate(1); }, "set switch fail"},
    {"utm_ips_set_whitelist", [] { return utm_ips_set_whitelist("1", 0); }, "set whitelist fail"},
    {"utm_ips_set_blacklist", [] { return utm_ips_set_blacklist("1", 0); }, "set blacklist fail"},
    {"utm_ips_update_signature", [] { return utm_ips_update_signature("/x"); }, "update signature fail"},
    {"utm_ips_debug", [] { return utm_ips_debug(1); }, "set debug fail"},
    {"utm_ips_reset", [] { return utm_ips_reset(); }, "reset fail"},
    {"utm_ips_flush", [] { return utm_ips_flush(1); }, "flush fail"},
};

class ips_operation : public testing::TestWithParam<operation> {
protected:
    const operation& operation_ = GetParam();

    std::string line(const char* text) const { return line_of(operation_.name, text); }

    // Expects the operation to fail so, to have logged this, and to print nothing.
    void expect_failure(int cause, const std::string& logged) const
    {
        const std::string printed = printed_by([&] {
            EXPECT_EQ(operation_.call(), -1);
            EXPECT_EQ(errno, cause);
        });
        EXPECT_EQ(printed, "");
        EXPECT_EQ(ips_log(), logged);
    }
};
INSTANTIATE_TEST_SUITE_P(operations, ips_operation, testing::ValuesIn(operations),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(ips_operation, is_one_exchange)
{
    engine_daemon daemon(ips_path, records{ips_reply(0)});
    wrap::plan plan;
    EXPECT_EQ(operation_.call(), 0);
    EXPECT_EQ(plan.count("connect"), 1);
    EXPECT_EQ(plan.calls("send"), std::vector<std::string>{"send(316, 0)"});
    EXPECT_EQ(plan.calls("recv"), std::vector<std::string>{"recv(316, 0)"});
    EXPECT_EQ(plan.count("malloc"), 0);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(ips_operation, hands_every_other_result_back_and_logs_it)
{
    std::string log;
    for (int32_t result : {1, -1, 2, -7, INT32_MAX, INT32_MIN}) {
        engine_daemon daemon(ips_path, records{ips_reply(result)});
        EXPECT_EQ(operation_.call(), result);
        EXPECT_EQ(errno, EREMOTEIO);
        log += line(operation_.refused);
        EXPECT_EQ(ips_log(), log);
    }
}

TEST_P(ips_operation, without_a_daemon)
{
    expect_failure(ENOENT, line_of("connect_ips", "connect failed. Error") + line("connect to ips fail"));
}

TEST_P(ips_operation, failed_send)
{
    engine_daemon daemon(ips_path, records{ips_reply(0)});
    wrap::plan plan;
    plan.fail("send", 1, ENOBUFS);
    expect_failure(ENOBUFS, line("send fail"));
    EXPECT_EQ(plan.count("recv"), 0);
}

TEST_P(ips_operation, send_that_takes_little_or_nothing_is_no_failure)
{
    for (long taken : {0, 1, 315}) {
        engine_daemon daemon(ips_path, sim::script{sim::send(ips_reply(0)), sim::await_close()});
        wrap::plan plan;
        plan.answer("send", 1, taken);
        EXPECT_EQ(operation_.call(), 0);
    }
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST_P(ips_operation, failed_receive)
{
    engine_daemon daemon(ips_path, records{ips_reply(0)});
    wrap::plan plan;
    plan.fail("recv", 1, EIO);
    expect_failure(EIO, line("recv fail"));
}

TEST_P(ips_operation, no_answer_in_time)
{
    engine_daemon daemon(ips_path, sim::script{sim::receive(), sim::await_close()});
    wrap::plan plan;
    plan.fail("recv", 1, EAGAIN);
    expect_failure(ETIMEDOUT, line("recv fail"));
}

TEST_P(ips_operation, daemon_that_dies_before_the_request_raises_no_sigpipe)
{
    deaf_daemon daemon(ips_path);
    signal(SIGPIPE, SIG_DFL);
    wrap::plan plan;
    plan.before("send", 1, [&] { daemon.die(); });
    expect_failure(EPIPE, line("send fail"));
}

TEST_P(ips_operation, daemon_that_dies_before_reading)
{
    deaf_daemon daemon(ips_path);
    wrap::plan plan;
    plan.before("recv", 1, [&] { daemon.die(); });
    expect_failure(ECONNRESET, line("recv fail"));
}

TEST_P(ips_operation, daemon_that_closes_instead_of_answering)
{
    engine_daemon daemon(ips_path, records{});
    expect_failure(ENODATA, line(operation_.refused));
}

TEST_P(ips_operation, short_reply_never_succeeds)
{
    std::string log;
    for (size_t size : {1U, 311U, 312U, 314U, 315U}) {
        engine_daemon daemon(ips_path, records{first_bytes(sim::bytes(316), size)});
        log += line(operation_.refused);
        expect_failure(EPROTO, log);
    }
}

TEST_P(ips_operation, bytes_beyond_the_reply_are_not_read)
{
    engine_daemon daemon(ips_path, records{first_bytes(ips_reply(0), 1000)});
    EXPECT_EQ(operation_.call(), 0);
}

const bad_argument bad_arguments[] = {
    {"switch_2", "utm_ips_activate", [] { return utm_ips_activate(2); }, "activate parameter error"},
    {"switch_negative", "utm_ips_activate", [] { return utm_ips_activate(UINT32_MAX); }, "activate parameter error"},
    {"whitelist_null", "utm_ips_set_whitelist", [] { return utm_ips_set_whitelist(nullptr, 0); },
     "set_whitelist parameter error"},
    {"whitelist_action_2", "utm_ips_set_whitelist", [] { return utm_ips_set_whitelist("x", 2); },
     "set_whitelist parameter error"},
    {"blacklist_null", "utm_ips_set_blacklist", [] { return utm_ips_set_blacklist(nullptr, 1); },
     "set_blacklist parameter error"},
    {"blacklist_action_2", "utm_ips_set_blacklist", [] { return utm_ips_set_blacklist("x", 2); },
     "set_blacklist parameter error"},
    {"signature_null", "utm_ips_update_signature", [] { return utm_ips_update_signature(nullptr); },
     "update signature parameter error"},
    {"debug_2", "utm_ips_debug", [] { return utm_ips_debug(2); }, "debug parameter error"},
    {"flush_3", "utm_ips_flush", [] { return utm_ips_flush(3); }, "flush parameter error"},
};

TEST_P(ips_operation, line_numbers_tell_messages_apart)
{
    const std::string name = operation_.name;
    const auto refused = refused_calls(bad_arguments, name);
    expect_line_numbers_of_their_own(UTM_IPS_LOG, name, 4 + refused.size(), [&] {
        for (const auto& [text, call] : refused)
            call();
        fail_in_each_way(operation_.call, ips_path, records{ips_reply(-1)}, {"send", "recv"});
    });
}

class ips_bad_argument : public testing::TestWithParam<bad_argument> {};
INSTANTIATE_TEST_SUITE_P(arguments, ips_bad_argument, testing::ValuesIn(bad_arguments),
                         [](const auto& test) { return std::string(test.param.what); });

TEST_P(ips_bad_argument, is_refused_before_any_connection)
{
    expect_refused_unconnected(GetParam(), ips_log);
}

TEST(ips, highest_values_are_accepted)
{
    engine_daemon daemon(ips_path, records{ips_reply(0)});
    EXPECT_EQ(utm_ips_activate(0), 0);
    EXPECT_EQ(utm_ips_flush(0), 0);
    EXPECT_EQ(utm_ips_flush(2), 0);
    EXPECT_EQ(utm_ips_set_blacklist("", 1), 0);
    EXPECT_EQ(utm_ips_update_signature(""), 0);
    EXPECT_EQ(daemon.requests().size(), 5U);
}

} // namespace
