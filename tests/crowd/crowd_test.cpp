// A crowd of processes and threads on one gateway, interrupted by signals, stopped and killed: the registry, the UUID
// and the logs stay what completed operations have made them, and no daemon is said to have done what it did not.

#include "kqutm.h"

#include "tests/crowd/aftermath.h"
#include "tests/crowd/deeds.h"
#include "tests/engines/engines.h"
#include "tests/sandbox/held.h"
#include "tests/sandbox/paths.h"
#include "tests/sandbox/registry.h"
#include "tests/sandbox/shared.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <thread>

using namespace crowd;

namespace {

class config_and_engine_daemons {
public:
    const engine_daemon ips{ips_path, records{ips_reply(0)}};

private:
    static sim::bytes entry(const std::string& text)
    {
        sim::bytes record = av_reply(0);
        put_text(record, 20, text + '\0');
        return record;
    }

    static sim::bytes usage_record(uint32_t value)
    {
        sim::bytes record = reply(UTM_RESPONSE_MORE);
        put_u32(record, 48, value);
        return record;
    }

    // A list to who asks for it, before what everybody gets.
    void answer_of_application(const sim::conversation& client) const
    {
        const sim::bytes request = app_journal_.visits().back().request; // empty where who asked was killed
        if (!request.empty() && request[0] == UTM_APP_GET_USAGE_BY_APP) {
            for (const uint32_t value : usage)
                client.send(usage_record(value));
        }
        client.send(reply(UTM_RESPONSE_OK));
    }

    sim::journal app_journal_;
    engine_daemon cf_{cf_path, answer(0)};
    engine_daemon user_profile_{user_profile_path, answer(0)};
    sim::scripted_daemon app_{
        app_path,
        sim::script{sim::receive(), [this](const sim::conversation& client) { answer_of_application(client); }},
        &app_journal_};
    engine_daemon devid_{devid_path, records{devid_reply(7)}};
    engine_daemon av_{av_path, records{entry("a"), entry("b"), entry("c"), av_reply(-1)}};
    engine_daemon ir_{ir_path, records{ir_reply(0)}};
};

// Who loses the race to create a semaphore or a segment fails, and the end of a shell that creates a log interrupts
// other threads; so they are there before.
void prepare_gateway()
{
    ASSERT_EQ(init_utm_id_shm(), 0);
    ASSERT_EQ(utm_uuid_set(uuid_of(0).c_str()), 0);
    for (const char* log : {UTM_APPCF_LOG, UTM_IPS_LOG, UTM_DEVID_LOG})
        utm_log(log, "earlier\n");
    write_file(pid_file, "4711\n");
    for (uint32_t i = 0; i < profile_count; i++)
        set_slots({{profiles + profiles_at + i, first_profile + i},
                   {cf_policies + policies_at + 2 * i, first_cf_policy + 2 * i},
                   {cf_policies + policies_at + 2 * i + 1, first_cf_policy + 2 * i + 1},
                   {app_policies + policies_at + 2 * i, first_app_policy + 2 * i},
                   {app_policies + policies_at + 2 * i + 1, first_app_policy + 2 * i + 1}});
}

long held_by_this_process()
{
    return open_descriptors() + attached_segments();
}

// Signals arrive all the time, and interrupt whatever can be interrupted.
void be_interrupted()
{
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr);
    const itimerval often = {.it_interval = {0, 1000}, .it_value = {0, 1000}};
    setitimer(ITIMER_REAL, &often, nullptr);
}

// From here on signals go to other threads.
void leave_signals_to_others()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGALRM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void run_thread(const member& me)
{
    for (int round = 0; me.is_doomed() || round < rounds; round++)
        run_round(me, round);
}

[[noreturn]] void run_process(ledger& told, size_t process)
{
    while (!told.open)
        usleep(100);
    if (fate_of(process) == fate::interrupted || fate_of(process) == fate::killed)
        be_interrupted();
    const long before = held_by_this_process();
    std::vector<std::thread> threads;
    for (size_t i = 0; i < threads_each; i++)
        threads.emplace_back(run_thread, member{told, process * threads_each + i});
    leave_signals_to_others();
    for (std::thread& thread : threads)
        thread.join();
    _exit(held_by_this_process() == before + told.bindings[process] ? EXIT_SUCCESS : EXIT_FAILURE);
}

std::vector<pid_t> start_crowd(ledger& told)
{
    std::vector<pid_t> processes;
    for (size_t process = 0; process < process_count; process++) {
        processes.push_back(fork());
        if (processes.back() == 0)
            run_process(told, process);
    }
    return processes;
}

bool has_ended(pid_t process)
{
    siginfo_t end = {};
    EXPECT_EQ(waitid(P_PID, static_cast<id_t>(process), &end, WEXITED | WNOHANG | WNOWAIT), 0);
    return end.si_pid == process;
}

// Returns too where the process came to an end instead, which is told by whoever reaps it.
void await_progress(pid_t process, const std::atomic<int>& progress, int enough)
{
    while (progress < enough && !has_ended(process))
        usleep(100);
}

// While one is stopped the others may have to wait for it, so nobody is waited for meanwhile.
void stop_for_a_moment(pid_t process)
{
    kill(process, SIGSTOP);
    usleep(500);
    kill(process, SIGCONT);
}

// Each kind of fate comes to some processes early, to others late.
void disturb(const ledger& told, const std::vector<pid_t>& processes)
{
    for (size_t moment = 0; moment < 8; moment++) {
        for (size_t process = 0; process < process_count; process++) {
            if (fate_of(process) == fate::stopped) {
                await_progress(processes[process], told.progress[process], static_cast<int>(moment * 3));
                stop_for_a_moment(processes[process]);
            }
            if (fate_of(process) == fate::killed && process / 4 % 8 == moment) {
                await_progress(processes[process], told.progress[process], static_cast<int>(moment));
                kill(processes[process], SIGKILL);
            }
        }
    }
}

void expect_end(pid_t process, int expected)
{
    int status = -1;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    EXPECT_EQ(status, expected);
}

void expect_ends(const ledger& told, const std::vector<pid_t>& processes)
{
    for (size_t process = 0; process < process_count; process++) {
        SCOPED_TRACE(process);
        expect_end(processes[process], fate_of(process) == fate::killed ? SIGKILL : 0);
        EXPECT_STREQ(told.broken[process], nullptr);
    }
}

TEST(crowd, leaves_what_completed_operations_made)
{
    prepare_gateway();
    const shared<ledger> told;
    const std::vector<pid_t> processes = start_crowd(*told); // while there are no threads
    const config_and_engine_daemons daemons;
    told->open = true;
    disturb(*told, processes);
    expect_ends(*told, processes);
    expect_registry(*told);
    expect_whole_lines(*told, appcf_log(), "\\[thread_[0-9]+\\]round [0-9]+ of some length",
                       "\\[(send_utm_config_event|send_utm_event_and_get_response)\\]"
                       "((connect fail|write data fail): [A-Za-z ]+|read response fail)|"
                       "\\[utm_cf_(debug|web_safe_browsing_activate)\\] fail\\(activate = [01]\\)|"
                       "\\[utm_cf_activate\\](enable|disenable) cf|get utm_user_profile_get_app_usage fail|"
                       "delete user profile fail\\(id( = 60[0-9]+|\\(60[0-9]+\\) not found)\\)|"
                       "user profile id\\(60[0-9]+\\) not found|"
                       "add (cf|app) policy\\([0-9]+\\) to user profile\\([0-9]+\\) fail");
    expect_whole_lines(*told, content_of(UTM_IPS_LOG), "utm_ips_flush\\([0-9]+\\) flush parameter error",
                       "utm_ips_set_whitelist\\([0-9]+\\) (connect to ips|send|recv) fail|"
                       "connect_ips\\([0-9]+\\) connect failed. Error");
    expect_whole_lines(*told, content_of(UTM_DEVID_LOG), "utm_devid_activate\\([0-9]+\\) wrong activate range",
                       "utm_devid_activate\\([0-9]+\\) (connect to deviceid|send|recv|set switch) fail|"
                       "connect_deviceid\\([0-9]+\\) connect failed. Error");
    expect_lines_of_survivors();
    EXPECT_TRUE(std::regex_match(content_of(command_file), std::regex("(28\n|29\n)?")));
    expect_accepted_rules(*told, daemons.ips);
    EXPECT_EQ(utm_ips_set_whitelist("quiet", 1), 0) << "without a signal";
    EXPECT_EQ(utm_devid_activate(1), 7);
}

[[noreturn]] void write_uuids(ledger& told, size_t process)
{
    for (size_t letter = process;; letter++) {
        if (utm_uuid_set(uuid_of(letter).c_str()) != 0)
            told.broken[process] = "set_uuid";
        told.progress[process]++;
    }
}

// What they wrote may be torn, which the next one mends.
TEST(crowd, writers_of_the_uuid_that_are_killed_leave_a_text_and_no_lock)
{
    ASSERT_EQ(utm_uuid_set(uuid_of(0).c_str()), 0);
    const shared<ledger> told;
    for (size_t process = 0; process < 8; process++) {
        const pid_t writer = fork();
        if (writer == 0)
            write_uuids(*told, process);
        await_progress(writer, told->progress[process], static_cast<int>(10 * process));
        kill(writer, SIGKILL);
        expect_end(writer, SIGKILL);
        EXPECT_STREQ(told->broken[process], nullptr);
        char found[UTM_UUID_SIZE];
        EXPECT_EQ(utm_uuid_get(found, sizeof found), 0);
        EXPECT_EQ(strlen(found), 255U);
        EXPECT_EQ(utm_uuid_set(uuid_of(process).c_str()), 0);
        EXPECT_EQ(utm_uuid_get(found, sizeof found), 0);
        EXPECT_EQ(found, uuid_of(process));
    }
}

} // namespace
