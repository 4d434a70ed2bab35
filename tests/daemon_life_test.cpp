// Daemons that are killed, stopped and started again while they are asked: the call fails with its cause, or waits, and
// the next one works.

#include "kqutm/daemon.h"

#include "tests/engines/engines.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>

namespace {

struct service {
    const char* name;
    const char* path;
    int32_t (*call)();
    sim::bytes accepted;
};

int32_t tell_user_profiles()
{
    const utm_user_profile_config_event event = {.code = UTM_PROFILE_CREATE, .id = 7};
    return send_utm_config_event(&event, UTM_CONFIG_TARGET_USER_PROFILE);
}

const service services[] = {
    {"content_filter", cf_path, [] { return utm_cf_debug(1); }, reply(0)},
    {"application", app_path, [] { return utm_app_debug(1); }, reply(0)},
    {"user_profile", user_profile_path, tell_user_profiles, reply(0)},
    {"ips", ips_path, utm_ips_reset, ips_reply(0)},
    {"devid", devid_path, utm_devid_reset, devid_reply(0)},
    {"av", av_path, utm_av_reset, av_reply(0)},
    {"ir", ir_path, [] { return utm_ir_activate(1); }, ir_reply(0)},
};

// A daemon in a process of its own. Listens when it is constructed.
class daemon_process {
public:
    daemon_process(const char* path, const sim::script& script)
    {
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        unlink(path);
        process_ = fork();
        if (process_ == 0) {
            const engine_daemon daemon(path, script);
            (void)!write(ends[1], "x", 1);
            pause();
        }
        char ready;
        EXPECT_EQ(read(ends[0], &ready, 1), 1);
        close(ends[0]);
        close(ends[1]);
    }
    daemon_process(const daemon_process&) = delete;
    daemon_process& operator=(const daemon_process&) = delete;
    ~daemon_process()
    {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }

    void stop() const
    {
        kill(process_, SIGSTOP);
        waitpid(process_, nullptr, WUNTRACED);
    }
    void go_on() const { kill(process_, SIGCONT); }

private:
    pid_t process_;
};

class daemon_life : public testing::TestWithParam<service> {};

TEST_P(daemon_life, killed_while_asked_absent_and_back)
{
    const service& asked = GetParam();
    wrap::plan plan;
    plan.answer("usleep", wrap::every, 0); // between the attempts to connect
    {
        const daemon_process dying(asked.path, {sim::receive(), [](const sim::conversation&) { raise(SIGKILL); }});
        EXPECT_NE(asked.call(), 0);
        EXPECT_EQ(errno, ENODATA);
    }
    EXPECT_NE(asked.call(), 0);
    EXPECT_EQ(errno, ECONNREFUSED);
    const daemon_process back(asked.path, answer(records{asked.accepted}));
    EXPECT_EQ(asked.call(), 0);
}

TEST_P(daemon_life, stopped_and_continued_while_asked)
{
    const service& asked = GetParam();
    const daemon_process daemon(asked.path, answer(records{asked.accepted}));
    daemon.stop();
    std::thread later([&] {
        usleep(20000);
        daemon.go_on();
    });
    EXPECT_EQ(asked.call(), 0);
    later.join();
    EXPECT_EQ(asked.call(), 0);
}

INSTANTIATE_TEST_SUITE_P(services, daemon_life, testing::ValuesIn(services),
                         [](const testing::TestParamInfo<service>& service) { return service.param.name; });

} // namespace
