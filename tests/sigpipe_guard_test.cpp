#include "common/sigpipe_guard.h"

#include "common/local_socket.h"
#include "tests/wrap/wrap.h"

#include <atomic>
#include <cerrno>
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

namespace {

sigset_t sigpipe_alone()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
}

bool is_blocked()
{
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    return sigismember(&mask, SIGPIPE) == 1;
}

bool is_pending()
{
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) == 1;
}

std::atomic<int> delivered = 0;

void count_delivery(int)
{
    delivered++;
}

// SIGPIPE as the caller of the library has it, for the time of a test.
class caller {
public:
    explicit caller(sighandler_t disposition, bool blocked = false)
    {
        before_ = signal(SIGPIPE, disposition);
        const sigset_t set = sigpipe_alone();
        if (blocked)
            pthread_sigmask(SIG_BLOCK, &set, nullptr);
    }
    caller(const caller&) = delete;
    caller& operator=(const caller&) = delete;
    ~caller()
    {
        signal(SIGPIPE, SIG_IGN); // drops what is pending
        const sigset_t set = sigpipe_alone();
        pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
        signal(SIGPIPE, before_);
    }

private:
    sighandler_t before_;
};

// Writes to a socket whose other end is closed.
void write_to_nobody()
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    close(ends[1]);
    errno = 0;
    EXPECT_EQ(write_without_sigpipe(ends[0], "x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
    close(ends[0]);
}

sighandler_t disposition()
{
    struct sigaction action;
    sigaction(SIGPIPE, nullptr, &action);
    return action.sa_handler;
}

TEST(sigpipe_guard, caller_with_the_default_disposition_survives)
{
    caller caller(SIG_DFL);
    write_to_nobody();
    EXPECT_FALSE(is_blocked());
    EXPECT_FALSE(is_pending());
    EXPECT_EQ(disposition(), SIG_DFL);
}

TEST(sigpipe_guard, handler_of_the_caller_does_not_run)
{
    caller caller(count_delivery);
    delivered = 0;
    write_to_nobody();
    EXPECT_EQ(delivered, 0);
    raise(SIGPIPE);
    EXPECT_EQ(delivered, 1) << "it still runs for signals of the caller's own";
    EXPECT_EQ(disposition(), count_delivery);
}

TEST(sigpipe_guard, caller_that_blocks_it_finds_nothing_pending)
{
    caller caller(SIG_DFL, true);
    write_to_nobody();
    EXPECT_TRUE(is_blocked());
    EXPECT_FALSE(is_pending());
}

TEST(sigpipe_guard, signal_that_was_pending_stays_pending)
{
    caller caller(SIG_DFL, true);
    raise(SIGPIPE);
    write_to_nobody();
    EXPECT_TRUE(is_blocked());
    EXPECT_TRUE(is_pending());
}

TEST(sigpipe_guard, signal_that_cannot_be_looked_for_counts_as_not_pending)
{
    caller caller(SIG_DFL, true);
    raise(SIGPIPE);
    wrap::plan plan;
    plan.fail("sigpending", 1, EFAULT);
    write_to_nobody();
    EXPECT_FALSE(is_pending());
}

TEST(sigpipe_guard, caller_that_ignores_it_keeps_ignoring_it)
{
    caller caller(SIG_IGN);
    write_to_nobody();
    EXPECT_FALSE(is_blocked());
    EXPECT_EQ(disposition(), SIG_IGN);
}

TEST(sigpipe_guard, taking_it_back_goes_on_after_another_signal)
{
    caller caller(SIG_DFL);
    wrap::plan plan;
    plan.fail("sigtimedwait", 1, EINTR);
    write_to_nobody();
    EXPECT_EQ(plan.count("sigtimedwait"), 2);
    EXPECT_FALSE(is_pending());
}

TEST(sigpipe_guard, failure_that_raised_no_signal_is_looked_for_once)
{
    caller caller(SIG_DFL);
    wrap::plan plan;
    plan.fail("write", 1, EPIPE);
    EXPECT_EQ(write_without_sigpipe(1, "x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
    EXPECT_EQ(plan.count("sigtimedwait"), 1);
}

TEST(sigpipe_guard, written_data_costs_two_calls_beside_the_write)
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    wrap::plan plan;
    EXPECT_EQ(write_without_sigpipe(ends[0], "abc", 3), 3);
    const std::string block = "pthread_sigmask(" + std::to_string(SIG_BLOCK) + ")";
    const std::string restore = "pthread_sigmask(" + std::to_string(SIG_SETMASK) + ")";
    EXPECT_EQ(plan.calls(), (std::vector<std::string>{block, "write(3)", restore}));
    close(ends[0]);
    close(ends[1]);
}

TEST(sigpipe_guard, other_failures_take_nothing_back)
{
    caller caller(SIG_DFL);
    wrap::plan plan;
    plan.fail("write", 1, EIO);
    EXPECT_EQ(write_without_sigpipe(1, "x", 1), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(plan.count("sigtimedwait"), 0);
}

} // namespace
