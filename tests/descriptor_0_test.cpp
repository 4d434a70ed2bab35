// Exchanges of a program that closed its standard input, so that their socket gets descriptor 0.

#include "kqutm/daemon.h"

#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/descriptors.h"
#include "tests/sandbox/reader.h"
#include "tests/sandbox/sender.h"
#include "tests/wrap/wrap.h"

#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

constexpr int cf = UTM_CONFIG_TARGET_CF;

bool send_event()
{
    return send_utm_config_event(event, cf) == 0;
}

bool ask_event()
{
    utm_event_response* response = ask(1, cf);
    free(response);
    return response != nullptr;
}

class descriptor_0 : public testing::TestWithParam<bool (*)()> {
protected:
    void expect_failure_that_leaves_it_open(int cause) const
    {
        EXPECT_FALSE(GetParam()());
        EXPECT_EQ(errno, cause);
        EXPECT_EQ(fcntl(0, F_GETFD), FD_CLOEXEC);
    }
};
INSTANTIATE_TEST_SUITE_P(exchanges, descriptor_0, testing::Values(send_event, ask_event),
                         [](const auto& test) { return test.param == send_event ? "sender" : "reader"; });

// Deliberate: a socket that got descriptor 0 stays open.
TEST_P(descriptor_0, stays_open)
{
    sim::scripted_daemon daemon(cf_path, answer(0));
    closed_stdin closed;
    EXPECT_TRUE(GetParam()());
    EXPECT_EQ(fcntl(0, F_GETFD), FD_CLOEXEC);
}

TEST_P(descriptor_0, stays_open_when_nobody_listens)
{
    closed_stdin closed;
    wrap::plan plan;
    plan.answer("usleep", wrap::every, 0);
    expect_failure_that_leaves_it_open(ENOENT);
}

TEST_P(descriptor_0, stays_open_after_a_failed_write)
{
    sim::scripted_daemon daemon(cf_path, answer(0));
    closed_stdin closed;
    wrap::plan plan;
    plan.fail("write", 1, ENOBUFS);
    expect_failure_that_leaves_it_open(ENOBUFS);
}

TEST_P(descriptor_0, stays_open_after_a_failed_select)
{
    sim::scripted_daemon daemon(cf_path, answer(0));
    closed_stdin closed;
    wrap::plan plan;
    plan.fail("select", 1, EINTR);
    expect_failure_that_leaves_it_open(EINTR);
}

TEST_P(descriptor_0, stays_open_without_an_answer_in_time)
{
    sim::scripted_daemon daemon(cf_path, sim::script{sim::receive(), sim::await_close()});
    closed_stdin closed;
    wrap::plan plan;
    plan.answer("select", 1, 0);
    expect_failure_that_leaves_it_open(ETIMEDOUT);
}

TEST_P(descriptor_0, stays_open_after_a_short_answer)
{
    sim::scripted_daemon daemon(cf_path, answer({sim::bytes(831)}));
    closed_stdin closed;
    expect_failure_that_leaves_it_open(EPROTO);
}

TEST_P(descriptor_0, stays_open_after_a_refusal)
{
    sim::scripted_daemon daemon(cf_path, answer(5));
    closed_stdin closed;
    expect_failure_that_leaves_it_open(EREMOTEIO);
}

} // namespace
