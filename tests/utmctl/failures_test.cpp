#include "sim/gateway.h"
#include "tests/sandbox/config_daemons.h"
#include "tests/sandbox/files.h"
#include "tests/sandbox/key_file.h"
#include "tests/sandbox/registry.h"
#include "tests/utmctl/run.h"
#include "tests/utmctl/stopped_lock_holder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

// What goes wrong around utmctl, rather than at a daemon.

namespace {

// Standard output as a pipe whose reader has gone.
class abandoned_pipe {
public:
    abandoned_pipe()
    {
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        close(ends[0]);
        fd_ = ends[1];
    }
    abandoned_pipe(const abandoned_pipe&) = delete;
    abandoned_pipe& operator=(const abandoned_pipe&) = delete;
    ~abandoned_pipe() { close(fd_); }

    int fd() const { return fd_; }

private:
    int fd_;
};

class full_device {
public:
    full_device() : fd_(open("/dev/full", O_WRONLY | O_CLOEXEC)) { EXPECT_GE(fd_, 0); }
    full_device(const full_device&) = delete;
    full_device& operator=(const full_device&) = delete;
    ~full_device() { close(fd_); }

    int fd() const { return fd_; }

private:
    int fd_;
};

void wait_for_a_visit(const sim::scripted_daemon& daemon)
{
    while (daemon.requests().empty() || daemon.requests().front().empty())
        usleep(1000);
}

TEST(failures, a_worker_that_dies_is_told)
{
    const sim::scripted_daemon cf(cf_path, sim::script{sim::receive(), sim::await_close()});
    running_utmctl create("profile create 7");
    wait_for_a_visit(cf);
    ASSERT_EQ(kill(create.worker(), SIGKILL), 0);
    EXPECT_EQ(create.wait(),
              refused(7, "profile 7 may have been created: the worker process was killed by signal 9 (Killed) during "
                         "the call; 'utmctl registry show' tells what the registry holds\n"));
}

TEST(failures, the_worker_ends_with_a_command_that_is_killed)
{
    const sim::scripted_daemon cf(cf_path, sim::script{sim::receive(), sim::await_close()});
    running_utmctl create("profile create 7");
    wait_for_a_visit(cf);
    const std::string worker = "/proc/" + std::to_string(create.worker());
    ASSERT_EQ(kill(create.process(), SIGKILL), 0);
    EXPECT_EQ(create.wait(), (run_result{137, "", ""}));
    while (exists(worker) && content_of(worker + "/status").find("State:\tZ") == std::string::npos)
        usleep(1000);
}

TEST(failures, a_missing_key_file_is_told)
{
    const missing_key_file missing;
    const std::string cause =
        "the ID registry (/usr/lib/libkqutm.so) cannot be used: its semaphore cannot be opened: No such file or "
        "directory; install the library at /usr/lib/libkqutm.so, which is its key file\n";
    EXPECT_EQ(utmctl("profile create 7"), refused(5, "profile 7 was not created: " + cause));
    EXPECT_EQ(utmctl("profile list"), refused(5, "the profiles were not listed: " + cause));
    EXPECT_EQ(utmctl("registry check profile 7"), refused(5, "profile 7 was not looked up: " + cause));
}

TEST(failures, a_lock_that_is_not_given_ends_at_the_deadline)
{
    const config_daemons daemons;
    register_ids({{0, 7}});
    const stopped_lock_holder holder;
    EXPECT_EQ(utmctl("--timeout 0.3 profile delete 7"),
              refused(3, "profile 7 was not deleted: " + holder.told_within("0.3")));
    EXPECT_EQ(utmctl("--timeout 0.3 profile add-device 7 02:42:ac:11:00:05"),
              refused(3, "02:42:ac:11:00:05 was not added to profile 7: " + holder.told_within("0.3")));
    EXPECT_EQ(utmctl("--timeout 0.3 registry clear --yes"),
              refused(3, "the registry was not cleared: " + holder.told_within("0.3")));
    EXPECT_TRUE(daemons.visits().empty());
}

TEST(failures, standard_output_that_cannot_be_written_is_told)
{
    const config_daemons daemons;
    const full_device full;
    const std::string error = "utmctl: the results were not printed: standard output cannot be written: No space left "
                              "on device; the command itself ended with 'done', so do not just run it again\n";
    EXPECT_EQ(running_utmctl("profile create 7", full.fd()).wait(), (run_result{8, "", error}));
    EXPECT_EQ(running_utmctl("-j help", full.fd()).wait(), (run_result{8, "", error}));
    EXPECT_EQ(running_utmctl("profile flush", full.fd()).wait().status, 9);
}

TEST(failures, a_reader_who_went_away_is_no_failure)
{
    const abandoned_pipe pipe;
    EXPECT_EQ(running_utmctl("help", pipe.fd()).wait(), (run_result{0, "", ""}));
    EXPECT_EQ(running_utmctl("-j registry check profile 7", pipe.fd()).wait(),
              refused(6, "profile 7 is not registered: the ID registry does not hold it; 'utmctl registry show' tells "
                         "what it holds\n"));
}

// One command of each family that is one exchange with one daemon.
struct exchange {
    const char* line;
    const char* daemon;
};

constexpr exchange exchanges[] = {
    {"profile set-daily-limit 7 120", "app"},
    {"cf debug 3", "cf"},
    {"app debug 3", "app"},
    {"ips debug on", "ips"},
    {"devid debug on", "devid"},
    {"av debug on", "av"},
    {"ir debug on", "ir"},
};

struct fault_class {
    const char* fault;
    int status;
    const char* word;
};

constexpr fault_class fault_classes[] = {
    {"any:refuse=-1", 1, "refused"},
    {"any:silence", 3, "no-answer"},
    {"any:close", 7, "protocol-error"},
    {"any:short=3", 7, "protocol-error"},
};

void expect_failure(const std::string& line, int status, const std::string& word)
{
    const run_result result = utmctl("-j " + line);
    const auto told = nlohmann::json::parse(result.out);
    EXPECT_EQ(result.status, status) << line << "\n" << result;
    EXPECT_EQ(told.at("status"), word) << line;
}

TEST(failures, each_fault_of_a_daemon_has_a_status_of_its_own)
{
    const sim::gateway gateway;
    register_ids({{0, 7}});
    for (const exchange& one : exchanges) {
        for (const fault_class& fault : fault_classes) {
            SCOPED_TRACE(fault.fault);
            gateway.fault(one.daemon, fault.fault);
            expect_failure(std::string("--timeout 0.2 ") + one.line, fault.status, fault.word);
            gateway.clear_faults(one.daemon);
        }
    }
}

// The config channel tries for two seconds.
TEST(failures, a_daemon_that_is_not_there_is_unreachable)
{
    const sim::gateway gateway;
    for (const exchange& one : exchanges) {
        gateway.stop(one.daemon);
        expect_failure(one.line, 4, "unreachable");
        gateway.restart(one.daemon);
    }
}

// What goes wrong before a daemon is told, or for a part of what was asked.
struct refusal {
    const char* line;
    int status;
    const char* word;
};

constexpr refusal refusals[] = {
    {"profile delete x", 2, "usage"},
    {"cf debug x", 2, "usage"},
    {"app debug x", 2, "usage"},
    {"ips debug x", 2, "usage"},
    {"devid debug x", 2, "usage"},
    {"av debug x", 2, "usage"},
    {"ir debug x", 2, "usage"},
    {"registry check x 7", 2, "usage"},
    {"uuid set", 2, "usage"},
    {"sys debug-events x", 2, "usage"},
    {"log av", 2, "usage"},
    {"batch -f /tmp/none", 2, "usage"},
    {"watch profile create", 2, "usage"},
    {"profile delete 9", 6, "unknown-identifier"},
    {"cf set-block 9 00", 2, "usage"},
    {"cf flush-policy 0 9 --yes", 6, "unknown-identifier"},
    {"profile bind-app 7 9", 6, "unknown-identifier"},
    {"registry release profile 9", 6, "unknown-identifier"},
    {"registry reserve profile 7", 1, "refused"},
    {"profile delete 9 7", 8, "done-in-part"},
    {"profile flush", 9, "unsafe"},
    {"cf flush 0", 9, "unsafe"},
    {"app clear-entries 80", 9, "unsafe"},
    {"ips reset", 9, "unsafe"},
    {"devid reset", 9, "unsafe"},
    {"av reset", 9, "unsafe"},
    {"ir reset", 9, "unsafe"},
    {"registry clear", 9, "unsafe"},
    {"uuid clear", 9, "unsafe"},
    {"reset", 9, "unsafe"},
};

TEST(failures, each_refusal_has_a_status_of_its_own)
{
    const sim::gateway gateway;
    EXPECT_EQ(utmctl("profile create 7").status, 0);
    for (const refusal& one : refusals)
        expect_failure(one.line, one.status, one.word);
}

TEST(failures, a_registry_out_of_reach_has_a_status_of_its_own)
{
    const missing_key_file missing;
    for (const char* line :
         {"profile create 7", "cf create-policy 70", "app create-policy 80", "registry show", "reset --yes"})
        expect_failure(line, 5, "registry-unusable");
}

} // namespace
