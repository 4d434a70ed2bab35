#include "kqutm/ir.h"

#include "tests/engines/engines.h"
#include "tests/sandbox/descriptors.h"
#include "tests/sandbox/printed.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <csignal>

namespace {

// What an operation returns when it fails, and how often it asks when it does not.
struct operation {
    const char* name;
    int32_t (*call)();
    int32_t no_connection = -1;
    int32_t no_exchange = -1;
    int requests = 1;
};

void PrintTo(const operation& operation, std::ostream* out)
{
    *out << operation.name;
}

const operation operations[] = {
    {"utm_ir_activate", [] { return utm_ir_activate(1); }, -3, -4},
    {"utm_ir_debug", [] { return utm_ir_debug(0); }, -3, -4},
    {"utm_ir_db_set_max_size_mb", [] { return utm_ir_db_set_max_size_mb(1); }},
    {"utm_ir_db_set_update_check_freq", [] { return utm_ir_db_set_update_check_freq(0); }},
    {"utm_ir_db_set_threat_category", [] { return utm_ir_db_set_threat_category(0); }},
    {"utm_ir_db_set_whitelist", [] { return utm_ir_db_set_whitelist(1, 2, 0); }},
    {"utm_ir_db_set_blacklist", [] { return utm_ir_db_set_blacklist(1, 2, 1); }},
    {"utm_ir_load_db", [] { return utm_ir_load_db("/x"); }},
    {"utm_ir_flush_all", [] { return utm_ir_flush(0); }, -1, -1, 2},
    {"utm_ir_flush_first", [] { return utm_ir_flush(1); }},
    {"utm_ir_flush_second", [] { return utm_ir_flush(2); }},
};

// Takes requests on one connection and answers each of them with a reply of its own.
sim::script answer_each(const records& replies)
{
    sim::script script;
    for (const sim::bytes& reply : replies) {
        script.push_back(sim::receive());
        script.push_back(sim::send(reply));
    }
    script.push_back(sim::await_close());
    return script;
}

class ir_operation : public testing::TestWithParam<operation> {
protected:
    const operation& operation_ = GetParam();

    void expect(int32_t result, int cause, const std::string& line) const
    {
        const std::string printed = printed_by([&] {
            EXPECT_EQ(operation_.call(), result);
            EXPECT_EQ(errno, cause);
        });
        EXPECT_EQ(printed, line);
        EXPECT_FALSE(exists("/tmp/utm_log"));
    }
};
INSTANTIATE_TEST_SUITE_P(operations, ir_operation, testing::ValuesIn(operations),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(ir_operation, asks_over_one_connection_without_time_limits)
{
    const int requests = operation_.requests;
    engine_daemon daemon(ir_path, answer_each(records(static_cast<size_t>(requests), ir_reply(0))));
    wrap::plan plan;
    EXPECT_EQ(operation_.call(), 0);
    const int type = SOCK_SEQPACKET | SOCK_CLOEXEC;
    EXPECT_EQ(plan.calls("socket"), std::vector<std::string>{"socket(1, " + std::to_string(type) + ", 0)"});
    EXPECT_EQ(plan.calls("connect"), std::vector<std::string>{"connect(/tmp/utm_ir, 110)"});
    EXPECT_EQ(plan.count("setsockopt"), 0);
    EXPECT_EQ(plan.calls("send"),
              std::vector<std::string>(operation_.requests, "send(132, " + std::to_string(MSG_NOSIGNAL) + ")"));
    EXPECT_EQ(plan.calls("recv"), std::vector<std::string>(operation_.requests, "recv(16, 0)"));
    EXPECT_EQ(plan.count("malloc"), 0);
}

TEST_P(ir_operation, every_status_but_0_is_a_refusal)
{
    for (int32_t status : {1, -1, 2, -5, INT32_MAX, INT32_MIN}) {
        engine_daemon daemon(ir_path, records{ir_reply(status)});
        expect(-1, EREMOTEIO, "");
    }
}

TEST_P(ir_operation, without_a_daemon)
{
    expect(operation_.no_connection, ENOENT, "connect failed\n");
}

TEST_P(ir_operation, socket_that_cannot_be_created)
{
    wrap::plan plan;
    plan.fail("socket", 1, EMFILE);
    expect(operation_.no_connection, EMFILE, "open domain socket failed\n");
    EXPECT_EQ(plan.count("connect"), 0);
}

TEST_P(ir_operation, failed_send)
{
    engine_daemon daemon(ir_path, records{ir_reply(0)});
    wrap::plan plan;
    plan.fail("send", 1, ENOBUFS);
    expect(operation_.no_exchange, ENOBUFS, "send failed\n");
    EXPECT_EQ(plan.count("recv"), 0);
}

TEST_P(ir_operation, failed_receive)
{
    engine_daemon daemon(ir_path, records{ir_reply(0)});
    wrap::plan plan;
    plan.fail("recv", 1, EIO);
    expect(operation_.no_exchange, EIO, "recv failed\n");
}

TEST_P(ir_operation, daemon_that_dies_before_the_request_raises_no_sigpipe)
{
    deaf_daemon daemon(ir_path);
    signal(SIGPIPE, SIG_DFL);
    wrap::plan plan;
    plan.before("send", 1, [&] { daemon.die(); });
    EXPECT_EQ(operation_.call(), operation_.no_exchange);
    EXPECT_EQ(plan.count("recv"), 0);
}

TEST_P(ir_operation, daemon_that_dies_before_reading)
{
    deaf_daemon daemon(ir_path);
    wrap::plan plan;
    plan.before("recv", 1, [&] { daemon.die(); });
    expect(operation_.no_exchange, ECONNRESET, "recv failed\n");
}

TEST_P(ir_operation, daemon_that_closes_instead_of_answering)
{
    engine_daemon daemon(ir_path, records{});
    expect(operation_.no_exchange, ENODATA, "recv failed\n");
}

TEST_P(ir_operation, short_reply_never_succeeds)
{
    for (size_t size : {1U, 3U, 4U, 15U}) {
        engine_daemon daemon(ir_path, records{sim::bytes(size)});
        expect(-1, EPROTO, "");
    }
}

TEST_P(ir_operation, bytes_beyond_the_reply_are_not_read)
{
    engine_daemon daemon(ir_path, answer_each(records(2, first_bytes(ir_reply(0), 100))));
    EXPECT_EQ(operation_.call(), 0);
}

// Deliberate: descriptor 0 counts as a failed connection, and stays open.
TEST_P(ir_operation, descriptor_0_is_no_connection)
{
    engine_daemon daemon(ir_path, records{ir_reply(0)});
    wrap::plan plan;
    closed_stdin closed;
    EXPECT_EQ(operation_.call(), operation_.no_connection);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(fcntl(0, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(plan.count("send"), 0);
}

TEST_P(ir_operation, descriptor_1_is_a_connection)
{
    engine_daemon daemon(ir_path, answer_each(records(2, ir_reply(0))));
    const int saved = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    close(STDOUT_FILENO);
    const int32_t result = operation_.call();
    dup2(saved, STDOUT_FILENO);
    close(saved);
    EXPECT_EQ(result, 0);
}

TEST_P(ir_operation, descriptor_0_without_a_daemon_is_closed)
{
    closed_stdin closed;
    EXPECT_EQ(operation_.call(), operation_.no_connection);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(fcntl(0, F_GETFD), -1);
}

struct bad_argument {
    const char* what;
    int32_t (*call)();
    int32_t result = -1;
};

const bad_argument bad_arguments[] = {
    {"activate_2", [] { return utm_ir_activate(2); }, -2},
    {"activate_negative", [] { return utm_ir_activate(-1); }, -2},
    {"debug_2", [] { return utm_ir_debug(2); }, -2},
    {"size_0", [] { return utm_ir_db_set_max_size_mb(0); }},
    {"whitelist_2", [] { return utm_ir_db_set_whitelist(1, 1, 2); }},
    {"whitelist_negative", [] { return utm_ir_db_set_whitelist(1, 1, -1); }},
    {"blacklist_2", [] { return utm_ir_db_set_blacklist(1, 1, 2); }},
    {"flush_3", [] { return utm_ir_flush(3); }},
    {"flush_negative", [] { return utm_ir_flush(UINT32_MAX); }},
    {"path_null", [] { return utm_ir_load_db(nullptr); }},
};

class ir_bad_argument : public testing::TestWithParam<bad_argument> {};
INSTANTIATE_TEST_SUITE_P(arguments, ir_bad_argument, testing::ValuesIn(bad_arguments),
                         [](const auto& test) { return std::string(test.param.what); });

TEST_P(ir_bad_argument, is_refused_before_any_connection)
{
    wrap::plan plan;
    EXPECT_EQ(GetParam().call(), GetParam().result);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(plan.calls(), std::vector<std::string>{});
}

// The codes of all requests that reached the daemon, whichever connection brought them.
std::vector<uint32_t> codes_of(const engine_daemon& daemon)
{
    std::vector<uint32_t> codes;
    for (const sim::bytes& request : daemon.requests()) {
        for (size_t at = 0; at < request.size(); at += 132)
            codes.push_back(u32_at(request, at));
    }
    return codes;
}

using codes = std::vector<uint32_t>;

TEST(ir_flush, mode_selects_the_steps)
{
    const struct {
        uint32_t mode;
        codes sent;
    } cases[] = {{0, {11, 15}}, {1, {11}}, {2, {15}}};
    for (const auto& [mode, sent] : cases) {
        engine_daemon daemon(ir_path, answer_each(records(sent.size(), ir_reply(0))));
        EXPECT_EQ(utm_ir_flush(mode), 0);
        EXPECT_EQ(codes_of(daemon), sent);
        EXPECT_EQ(daemon.requests().size(), 1U); // one connection
    }
}

TEST(ir_flush, refused_first_step_leaves_the_second_out)
{
    engine_daemon daemon(ir_path, answer_each({ir_reply(1), ir_reply(0)}));
    EXPECT_EQ(utm_ir_flush(0), -1);
    EXPECT_EQ(codes_of(daemon), codes{11});
}

TEST(ir_flush, refused_second_step_fails)
{
    engine_daemon daemon(ir_path, answer_each({ir_reply(0), ir_reply(1)}));
    EXPECT_EQ(utm_ir_flush(0), -1);
    EXPECT_EQ(errno, EREMOTEIO);
    EXPECT_EQ(codes_of(daemon), (codes{11, 15}));
}

TEST(ir_flush, daemon_that_closes_between_the_steps_fails)
{
    engine_daemon daemon(ir_path, sim::script{sim::receive(), sim::send(ir_reply(0)), sim::receive()});
    EXPECT_EQ(utm_ir_flush(0), -1);
    EXPECT_EQ(errno, ENODATA);
}

// A daemon whose first connection brings the flush and its second the switch.
class reset_daemon : public sim::scripted_daemon {
public:
    reset_daemon(const records& flush, const records& activate)
        : scripted_daemon(ir_path, {answer_each(flush), answer_each(activate)}, nullptr, SOCK_SEQPACKET)
    {
    }
};

// Deliberate: a reset leaves the engine switched off.
TEST(ir_reset, flushes_both_and_switches_off)
{
    reset_daemon daemon({ir_reply(0), ir_reply(0)}, {ir_reply(0)});
    EXPECT_EQ(utm_ir_reset(), 0);
    ASSERT_EQ(daemon.requests().size(), 2U);
    EXPECT_EQ(u32_at(daemon.requests()[0], 0), 11U);
    EXPECT_EQ(u32_at(daemon.requests()[0], 132), 15U);
    EXPECT_EQ(u32_at(daemon.requests()[1], 0), 1U);
}

TEST(ir_reset, failed_flush_leaves_the_engine_on)
{
    for (const records& flush : {records{ir_reply(1)}, records{ir_reply(0), ir_reply(1)}}) {
        reset_daemon daemon(flush, {ir_reply(0)});
        EXPECT_EQ(utm_ir_reset(), -1);
        EXPECT_EQ(daemon.requests().size(), 1U);
    }
}

TEST(ir_reset, tells_how_the_switch_failed)
{
    {
        reset_daemon daemon({ir_reply(0), ir_reply(0)}, {ir_reply(9)});
        EXPECT_EQ(utm_ir_reset(), -1);
    }
    {
        reset_daemon daemon({ir_reply(0), ir_reply(0)}, {ir_reply(0)});
        wrap::plan plan;
        plan.fail("connect", 2, ECONNREFUSED);
        EXPECT_EQ(utm_ir_reset(), -3);
    }
    {
        reset_daemon daemon({ir_reply(0), ir_reply(0)}, {ir_reply(0)});
        wrap::plan plan;
        plan.fail("send", 3, EIO);
        EXPECT_EQ(utm_ir_reset(), -4);
    }
    EXPECT_EQ(utm_ir_reset(), -1); // nobody listens: the flush fails
}

} // namespace
