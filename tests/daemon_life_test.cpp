// Daemons that are killed, stopped and started again while they are asked, by one or by many: the call fails with its
// cause and in its time, or waits, and the next one works.

#include "kqutm/daemon.h"

#include "tests/engines/engines.h"
#include "tests/sandbox/lines.h"
#include "tests/sandbox/printed.h"
#include "tests/sandbox/shared.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <sys/wait.h>
#include <thread>
#include <vector>

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

// What callers, daemons and the test tell each other.
struct traffic {
    std::atomic<int> answers; // that daemons were about to send
    std::atomic<int> successes;
    std::atomic<int> failures;
    std::atomic<int> unexplained; // the errno of a failure that no call may have
    std::atomic<bool> over;
    std::atomic<int> last_successes; // of calls after all that happened to the daemons
};

constexpr int callers = 4;

// Nobody has made the socket, nobody listens, or who listened died before taking the request or after.
bool is_cause_of_death(int error)
{
    constexpr std::array causes = {ENOENT, ECONNREFUSED, EPIPE, ECONNRESET, ENODATA};
    return std::find(causes.begin(), causes.end(), error) != causes.end();
}

bool call_once(const service& asked, traffic& told)
{
    wrap::plan plan;
    plan.answer("usleep", wrap::every, 0); // between the attempts to connect
    if (asked.call() == 0) {
        told.successes++;
        return true;
    }
    const int error = errno;
    if (!is_cause_of_death(error))
        told.unexplained = error;
    told.failures++;
    return false;
}

// Each failure takes many lines of a log, which must not grow so large that it is renamed: the shell that does so would
// interrupt the waits of other threads when it ends.
void call_until_it_is_over(const service& asked, traffic& told)
{
    while (!told.over) {
        if (!call_once(asked, told))
            usleep(10000);
    }
    told.last_successes += call_once(asked, told) ? 1 : 0;
}

// They have a process of their own: one with threads would not do for starting daemons.
pid_t start_callers(const service& asked, const shared<traffic>& told)
{
    const pid_t process = fork();
    if (process != 0)
        return process;
    printed_by([&] { // the clients of IR print each failure
        std::vector<std::jthread> threads;
        for (int i = 0; i < callers; i++)
            threads.emplace_back([&] { call_until_it_is_over(asked, *told); });
    });
    _exit(EXIT_SUCCESS);
}

sim::script answer_and_count(const service& asked, const shared<traffic>& told)
{
    return {sim::receive(), [&](const sim::conversation& client) {
                told->answers++;
                client.send(asked.accepted);
            }};
}

void await_more(const std::atomic<int>& count)
{
    for (const int enough = count + 2 * callers; count < enough;)
        usleep(100);
}

// The end of a shell that creates a log would interrupt the waits of other threads.
constexpr char earlier[] = "earlier\n";

void create_logs()
{
    for (const char* log : {UTM_APPCF_LOG, UTM_IPS_LOG, UTM_DEVID_LOG})
        utm_log(log, earlier);
}

TEST_P(daemon_life, killed_stopped_and_back_under_traffic)
{
    const service& asked = GetParam();
    create_logs();
    const shared<traffic> told;
    std::optional<daemon_process> daemon(std::in_place, asked.path, answer_and_count(asked, told));
    const pid_t process = start_callers(asked, told);
    for (const bool goes_on : {true, false, true, false, true}) {
        await_more(told->successes);
        daemon->stop();
        usleep(1000);
        if (goes_on) {
            daemon->go_on();
            await_more(told->successes);
        }
        daemon.reset();
        await_more(told->failures);
        daemon.emplace(asked.path, answer_and_count(asked, told));
    }
    told->over = true;
    int status = -1;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(told->unexplained, 0) << strerror(told->unexplained);
    EXPECT_EQ(told->last_successes, callers);
    EXPECT_LE(told->successes, told->answers) << "as many as the daemons answered";
}

INSTANTIATE_TEST_SUITE_P(services, daemon_life, testing::ValuesIn(services),
                         [](const testing::TestParamInfo<service>& service) { return service.param.name; });

int32_t ask_application_daemon()
{
    uint32_t words[3];
    return utm_app_daemon_status(&words[0], &words[1], &words[2]);
}

// How long a call waits for a daemon that is stopped.
struct patience {
    int32_t (*call)();
    int seconds;
};

constexpr patience limited[] = {
    {[] { return utm_cf_debug(1); }, 10},
    {[] { return utm_app_debug(1); }, 10},
    {tell_user_profiles, 10},
    {utm_ips_reset, 10},
    {utm_av_reset, 10},
    {utm_devid_reset, 3},
    {ask_application_daemon, 2},
};

void expect_time_out(const patience& expected)
{
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(expected.call(), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(expected.seconds));
}

TEST(stopped_daemons, end_each_call_in_its_time_but_those_of_ir)
{
    create_logs();
    std::vector<std::unique_ptr<daemon_process>> daemons;
    for (const service& asked : services) {
        daemons.push_back(std::make_unique<daemon_process>(asked.path, answer(records{asked.accepted})));
        daemons.back()->stop();
    }
    std::atomic<bool> ir_answered = false;
    std::jthread of_ir([&] {
        EXPECT_EQ(utm_ir_activate(1), 0);
        ir_answered = true;
    });
    {
        std::vector<std::jthread> threads;
        for (const patience& each : limited)
            threads.emplace_back([&] { expect_time_out(each); });
    }
    EXPECT_FALSE(ir_answered);
    for (const auto& daemon : daemons)
        daemon->go_on();
    of_ir.join();
    const std::string unanswered = "[send_utm_config_event]select() timeout";
    EXPECT_EQ(lines_of(appcf_log()),
              (unordered_lines{"earlier", "[send_utm_event_and_get_response]select() timeout",
                               "utm_app_daemon_status fail", unanswered, "[utm_cf_debug] fail(activate = 1)",
                               unanswered, "set app debug(1) fail", unanswered}));
    EXPECT_EQ(ips_log(), earlier + line_of("utm_ips_reset", "recv fail"));
    EXPECT_EQ(devid_log(), earlier + line_of("utm_devid_reset", "recv fail"));
    for (const service& asked : services)
        EXPECT_EQ(asked.call(), 0) << asked.name;
}

} // namespace
