// The transport's real time limits, each waited for once.

#include "kqutm/daemon.h"

#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/reader.h"

#include <cerrno>
#include <chrono>
#include <gtest/gtest.h>

namespace {

constexpr uint8_t event[2056] = {1};

class stopwatch {
public:
    double seconds() const { return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count(); }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

sim::script silence()
{
    return {sim::receive(), sim::await_close()};
}

TEST(transport_waits, sender_waits_10_seconds_for_the_answer)
{
    sim::scripted_daemon daemon(cf_path, silence());
    stopwatch watch;
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_CF), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_GE(watch.seconds(), 10);
    EXPECT_EQ(appcf_log(), "[send_utm_config_event]select() timeout\n");
}

TEST(transport_waits, reader_waits_2_seconds_for_the_first_record)
{
    sim::scripted_daemon daemon(app_path, silence());
    stopwatch watch;
    EXPECT_EQ(ask(36, UTM_CONFIG_TARGET_APP), nullptr);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_GE(watch.seconds(), 2);
    EXPECT_EQ(appcf_log(), "[send_utm_event_and_get_response]select() timeout\n");
}

TEST(transport_waits, sender_tries_for_2_1_seconds)
{
    stopwatch watch;
    EXPECT_EQ(send_utm_config_event(event, UTM_CONFIG_TARGET_USER_PROFILE), -1);
    EXPECT_GE(watch.seconds(), 2.1);
}

TEST(transport_waits, reader_waits_longer_for_further_records)
{
    using namespace std::chrono_literals;
    const sim::script slow = {sim::receive(), sim::send(reply(2)), sim::pause(2500ms), sim::send(reply(0))};
    sim::scripted_daemon daemon(cf_path, slow);
    utm_event_response* response = ask(1, UTM_CONFIG_TARGET_CF);
    EXPECT_NE(response, nullptr);
    free(response);
}

} // namespace
