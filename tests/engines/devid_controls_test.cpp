#include "kqutm/devid.h"

#include "tests/engines/bad_arguments.h"
#include "tests/engines/engines.h"
#include "tests/sandbox/printed.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <csignal>

namespace {

enum class refusal {
    any_but_zero,
    minus_one
};

struct control {
    const char* name;
    int32_t (*call)();
    refusal failed;
    const char* refused;
    const char* not_sent = "send fail";
    const char* not_received = "recv fail";
};

void PrintTo(const control& control, std::ostream* out)
{
    *out << control.name;
}

utm_devid_status ignored;

const control controls[] = {
    {"utm_devid_activate", [] { return utm_devid_activate(1); }, refusal::any_but_zero, "set switch fail"},
    {"utm_devid_get_status", [] { return utm_devid_get_status(&ignored); }, refusal::minus_one, "get switch fail"},
    {"utm_devid_cache_set_max_size", [] { return utm_devid_cache_set_max_size(5); }, refusal::minus_one,
     "set cache size fail"},
    {"utm_devid_flush_cache_list", [] { return utm_devid_flush_cache_list(); }, refusal::minus_one, "flush list fail"},
    {"utm_devid_debug", [] { return utm_devid_debug(1); }, refusal::minus_one, "set debug fail", "set debug fail",
     "set debug fail"},
    {"utm_devid_show_all_list", [] { return utm_devid_show_all_list(); }, refusal::minus_one, "show kernel list fail",
     "show kernel list fail", "show kernel list fail"},
    {"utm_devid_reset", [] { return utm_devid_reset(); }, refusal::any_but_zero, "deviceid reset fail"},
    {"utm_devid_set_ignore_iface", [] { return utm_devid_set_ignore_iface("br0", 1); }, refusal::any_but_zero,
     "deviceid set ignore iface fail"},
};

class devid_control : public testing::TestWithParam<control> {
protected:
    const control& control_ = GetParam();

    std::string line(const char* text) const { return line_of(control_.name, text); }

    // Expects the operation to fail so, to have logged this, and to print nothing.
    void expect_failure(int cause, const std::string& logged) const
    {
        const std::string printed = printed_by([&] {
            EXPECT_EQ(control_.call(), -1);
            EXPECT_EQ(errno, cause);
        });
        EXPECT_EQ(printed, "");
        EXPECT_EQ(devid_log(), logged);
    }
};
INSTANTIATE_TEST_SUITE_P(controls, devid_control, testing::ValuesIn(controls),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(devid_control, is_one_exchange)
{
    engine_daemon daemon(devid_path, records{devid_reply(0)});
    wrap::plan plan;
    EXPECT_EQ(control_.call(), 0);
    EXPECT_EQ(plan.count("connect"), 1);
    EXPECT_EQ(plan.calls("send"), std::vector<std::string>{"send(392, 0)"});
    EXPECT_EQ(plan.calls("recv"), std::vector<std::string>{"recv(392, 0)"});
    EXPECT_EQ(plan.count("malloc"), 0);
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

// Deliberate: to activate, reset and ignore every result but 0 is a refusal, to the others -1 alone.
TEST_P(devid_control, hands_every_result_back_and_logs_what_counts_as_failed)
{
    std::string log;
    for (int32_t result : {0, 1, -1, 2, -2, INT32_MAX, INT32_MIN}) {
        engine_daemon daemon(devid_path, records{devid_reply(result)});
        EXPECT_EQ(control_.call(), result);
        if (control_.failed == refusal::minus_one ? result == -1 : result != 0) {
            EXPECT_EQ(errno, EREMOTEIO);
            log += line(control_.refused);
        }
        EXPECT_EQ(devid_log(), log) << result;
    }
}

TEST_P(devid_control, without_a_daemon)
{
    expect_failure(ENOENT, line_of("connect_deviceid", "connect failed. Error") + line("connect to deviceid fail"));
}

// Deliberate: debug and show-all tell a failed send or receive with the text of a refusal.
TEST_P(devid_control, failed_send)
{
    engine_daemon daemon(devid_path, records{devid_reply(0)});
    wrap::plan plan;
    plan.fail("send", 1, ENOBUFS);
    expect_failure(ENOBUFS, line(control_.not_sent));
    EXPECT_EQ(plan.count("recv"), 0);
}

TEST_P(devid_control, failed_receive)
{
    engine_daemon daemon(devid_path, records{devid_reply(0)});
    wrap::plan plan;
    plan.fail("recv", 1, EIO);
    expect_failure(EIO, line(control_.not_received));
}

TEST_P(devid_control, time_limits_that_pass)
{
    std::string log;
    const std::pair<const char*, const char*> waits[] = {{"send", control_.not_sent}, {"recv", control_.not_received}};
    for (const auto& [call, text] : waits) {
        engine_daemon daemon(devid_path, sim::script{sim::receive(), sim::await_close()});
        wrap::plan plan;
        plan.fail(call, 1, EAGAIN);
        log += line(text);
        expect_failure(ETIMEDOUT, log);
    }
}

TEST_P(devid_control, daemon_that_dies_before_the_request_raises_no_sigpipe)
{
    deaf_daemon daemon(devid_path);
    signal(SIGPIPE, SIG_DFL);
    wrap::plan plan;
    plan.before("send", 1, [&] { daemon.die(); });
    expect_failure(EPIPE, line(control_.not_sent));
}

TEST_P(devid_control, daemon_that_dies_before_reading)
{
    deaf_daemon daemon(devid_path);
    wrap::plan plan;
    plan.before("recv", 1, [&] { daemon.die(); });
    expect_failure(ECONNRESET, line(control_.not_received));
}

TEST_P(devid_control, daemon_that_closes_instead_of_answering)
{
    engine_daemon daemon(devid_path, records{});
    expect_failure(ENODATA, line(control_.refused));
}

TEST_P(devid_control, short_reply_never_succeeds)
{
    std::string log;
    for (size_t size : {1U, 384U, 386U, 388U, 391U}) {
        engine_daemon daemon(devid_path, records{sim::bytes(size)});
        log += line(control_.refused);
        expect_failure(EPROTO, log);
    }
}

// Deliberate: a bad debug flag is refused with the text of activate.
const bad_argument bad_arguments[] = {
    {"switch_2", "utm_devid_activate", [] { return utm_devid_activate(2); }, "wrong activate range"},
    {"debug_2", "utm_devid_debug", [] { return utm_devid_debug(2); }, "wrong activate range"},
    {"debug_5", "utm_devid_debug", [] { return utm_devid_debug(5); }, "wrong activate range"},
    {"size_0", "utm_devid_cache_set_max_size", [] { return utm_devid_cache_set_max_size(0); },
     "size range 1~10MB, please re-assign"},
    {"size_11", "utm_devid_cache_set_max_size", [] { return utm_devid_cache_set_max_size(11); },
     "size range 1~10MB, please re-assign"},
    {"size_negative", "utm_devid_cache_set_max_size", [] { return utm_devid_cache_set_max_size(UINT32_MAX); },
     "size range 1~10MB, please re-assign"},
    {"interface_null", "utm_devid_set_ignore_iface", [] { return utm_devid_set_ignore_iface(nullptr, 0); },
     "invalid interface name."},
    {"interface_empty", "utm_devid_set_ignore_iface", [] { return utm_devid_set_ignore_iface("", 0); },
     "invalid interface name."},
    {"both", "utm_devid_set_ignore_iface", [] { return utm_devid_set_ignore_iface("", 2); }, "invalid interface name."},
    {"operation_2", "utm_devid_set_ignore_iface", [] { return utm_devid_set_ignore_iface("br0", 2); },
     "invalid operation."},
};

TEST_P(devid_control, line_numbers_tell_messages_apart)
{
    const std::string name = control_.name;
    const auto refused = refused_calls(bad_arguments, name);
    expect_line_numbers_of_their_own(UTM_DEVID_LOG, name, 4 + refused.size(), [&] {
        for (const auto& [text, call] : refused)
            call();
        fail_in_each_way(control_.call, devid_path, records{devid_reply(-1)}, {"send", "recv"});
    });
}

class devid_bad_argument : public testing::TestWithParam<bad_argument> {};
INSTANTIATE_TEST_SUITE_P(arguments, devid_bad_argument, testing::ValuesIn(bad_arguments),
                         [](const auto& test) { return std::string(test.param.what); });

TEST_P(devid_bad_argument, is_refused_before_any_connection)
{
    expect_refused_unconnected(GetParam(), devid_log);
}

TEST(devid_values, at_the_ends_of_their_ranges_are_sent)
{
    engine_daemon daemon(devid_path, records{devid_reply(0)});
    EXPECT_EQ(utm_devid_cache_set_max_size(1), 0);
    EXPECT_EQ(utm_devid_cache_set_max_size(10), 0);
    EXPECT_EQ(utm_devid_activate(0), 0);
    EXPECT_EQ(utm_devid_debug(0), 0);
    EXPECT_EQ(utm_devid_set_ignore_iface("br0", 0), 0);
    EXPECT_EQ(daemon.requests().size(), 5U);
}

constexpr utm_devid_status untouched = {0x11111111, {0x22222222, 0x33333333, 0x44444444}};

sim::bytes reply_with_words(int32_t result)
{
    sim::bytes record = devid_reply(result);
    put_u32(record, 4, 0xa1);
    put_u32(record, 8, 0xb2);
    put_u32(record, 12, 0xc3);
    return record;
}

TEST(devid_status, words_2_to_4_are_those_of_the_reply)
{
    for (int32_t result : {0, 7}) {
        engine_daemon daemon(devid_path, records{reply_with_words(result)});
        utm_devid_status status = untouched;
        EXPECT_EQ(utm_devid_get_status(&status), result);
        EXPECT_EQ(u32_at(&status, 0), 0x11111111U);
        EXPECT_EQ(u32_at(&status, 4), 0xa1U);
        EXPECT_EQ(u32_at(&status, 8), 0xb2U);
        EXPECT_EQ(u32_at(&status, 12), 0xc3U);
    }
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(devid_status, failure_leaves_the_record_untouched)
{
    for (const records& replies : {records{reply_with_words(-1)}, records{}, records{sim::bytes(388)}}) {
        engine_daemon daemon(devid_path, replies);
        utm_devid_status status = untouched;
        EXPECT_EQ(utm_devid_get_status(&status), -1);
        EXPECT_EQ(bytes_of(&status, 16), bytes_of(&untouched, 16));
    }
    const std::string failed = line_of("utm_devid_get_status", "get switch fail");
    EXPECT_EQ(devid_log(), failed + failed + failed);
}

sim::bytes reply_with_timestamp(int32_t result)
{
    sim::bytes record = devid_reply(result);
    put_u32(record, 376, 0x89abcdef);
    put_u32(record, 380, 0x01234567);
    return record;
}

std::string timestamp_line(const char* text)
{
    return line_of("utm_devid_get_latest_timestamp", text);
}

// Deliberate: the timestamp is returned whatever result stands beside it.
TEST(devid_timestamp, does_not_depend_on_the_result)
{
    for (int32_t result : {0, -1, 1}) {
        engine_daemon daemon(devid_path, records{reply_with_timestamp(result)});
        EXPECT_EQ(utm_devid_get_latest_timestamp(), 0x0123456789abcdefULL);
    }
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(devid_timestamp, of_a_whole_reply_leaves_errno_0)
{
    for (const sim::bytes& reply : {sim::bytes(392), reply_with_timestamp(-1)}) {
        engine_daemon daemon(devid_path, records{reply});
        errno = EIO;
        EXPECT_EQ(utm_devid_get_latest_timestamp() == 0, reply == sim::bytes(392));
        EXPECT_EQ(errno, 0);
    }
    EXPECT_FALSE(exists("/tmp/utm_log"));
}

TEST(devid_timestamp, without_a_daemon_is_0)
{
    EXPECT_EQ(utm_devid_get_latest_timestamp(), 0U);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(devid_log(),
              line_of("connect_deviceid", "connect failed. Error") + timestamp_line("connect to deviceid fail"));
}

TEST(devid_timestamp, is_0_after_a_failed_send_or_receive)
{
    engine_daemon daemon(devid_path, records{reply_with_timestamp(0)});
    for (const char* call : {"send", "recv"}) {
        wrap::plan plan;
        plan.fail(call, 1, EIO);
        EXPECT_EQ(utm_devid_get_latest_timestamp(), 0U);
        EXPECT_EQ(errno, EIO);
    }
    EXPECT_EQ(devid_log(), timestamp_line("send fail") + timestamp_line("recv fail"));
}

TEST(devid_timestamp, is_0_where_the_reply_is_short_or_missing)
{
    for (size_t size : {380U, 384U, 391U}) {
        engine_daemon daemon(devid_path, records{first_bytes(reply_with_timestamp(0), size)});
        EXPECT_EQ(utm_devid_get_latest_timestamp(), 0U) << size;
        EXPECT_EQ(errno, EPROTO);
    }
    engine_daemon daemon(devid_path, records{});
    EXPECT_EQ(utm_devid_get_latest_timestamp(), 0U);
    EXPECT_EQ(errno, ENODATA);
}

TEST(devid_timestamp, line_numbers_tell_messages_apart)
{
    expect_line_numbers_of_their_own(UTM_DEVID_LOG, "utm_devid_get_latest_timestamp", 3, [] {
        fail_in_each_way(utm_devid_get_latest_timestamp, devid_path, records{reply_with_timestamp(0)},
                         {"send", "recv"});
    });
}

} // namespace
